#pragma once

#include <QWidget>
#include <vector>

#include "screens/Label.h"

namespace tovri {

// A line of symbols with short texts above a list.
class SummaryLine final : public QWidget {
    Q_OBJECT

public:
    explicit SummaryLine(QWidget* parent = nullptr);

    void show(std::vector<Label> labels);
    using QWidget::show;

    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    std::vector<Label> labels_;
};

}  // namespace tovri
