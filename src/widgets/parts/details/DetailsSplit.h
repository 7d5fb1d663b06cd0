#pragma once

#include <QPointer>
#include <QSplitter>

namespace tovri {

class DetailsSetting;

// What a section shows and, at its end, the details, where the setting wants them and as wide as it says; but never so
// wide that the rows have no room.
class DetailsSplit final : public QSplitter {
    Q_OBJECT

public:
    // Both become its children.
    DetailsSplit(QWidget* content, QWidget* details);

    // From now on. The width that the user gives the details is the setting's.
    void follow(DetailsSetting& setting);

    [[nodiscard]] bool showsDetails() const { return !details_->isHidden(); }

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void arrange();

    QWidget* details_;
    QPointer<DetailsSetting> setting_;
};

}  // namespace tovri
