#pragma once

#include <QWidget>
#include <vector>

#include "screens/Details.h"

class QVBoxLayout;

namespace tovri {

class DetailsText;

// What there is to say of what is selected, and at its foot the links that lead there.
class DetailsPanel final : public QWidget {
    Q_OBJECT

public:
    explicit DetailsPanel(QWidget* parent = nullptr);

    void show(const Details& details);
    using QWidget::show;

signals:
    void pressed(DetailsAction action);

private:
    void showLinks(const std::vector<Details::Link>& links);
    [[nodiscard]] QWidget* makeLink(const Details::Link& link);

    DetailsText* text_;
    QVBoxLayout* links_;
    std::vector<Details::Link> shownLinks_;
};

}  // namespace tovri
