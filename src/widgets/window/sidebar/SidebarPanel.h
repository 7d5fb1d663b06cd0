#pragma once

#include <QWidget>

class QLabel;
class QVBoxLayout;

namespace tovri {

// Small lines below the sections of the sidebar, under a line that divides the two.
class SidebarPanel : public QWidget {
    Q_OBJECT

protected:
    static constexpr int lineGap = 6;

    explicit SidebarPanel(QWidget* parent);

    [[nodiscard]] QVBoxLayout* lines() const { return lines_; }

    // Fonts and colours, as of this moment.
    virtual void dress() = 0;

    void changeEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QVBoxLayout* lines_;
};

}  // namespace tovri
