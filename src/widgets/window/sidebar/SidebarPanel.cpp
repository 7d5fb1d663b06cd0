#include "widgets/window/sidebar/SidebarPanel.h"

#include <QEvent>
#include <QPainter>
#include <QVBoxLayout>

#include "widgets/theme/Colors.h"

namespace tovri {
namespace {

constexpr int padding = 10;
constexpr int divider = 1;

}  // namespace

SidebarPanel::SidebarPanel(QWidget* parent) : QWidget(parent), lines_(new QVBoxLayout(this)) {
    lines_->setContentsMargins(padding, padding + divider, padding, padding);
    lines_->setSpacing(lineGap);
}

void SidebarPanel::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange) dress();
}

void SidebarPanel::paintEvent(QPaintEvent* /*event*/) {
    QPainter(this).fillRect(QRect(0, 0, width(), divider), lineColor(palette()));
}

}  // namespace tovri
