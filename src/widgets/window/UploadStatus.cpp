#include "widgets/window/UploadStatus.h"

#include <QEvent>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>

#include "widgets/parts/text/Texts.h"
#include "widgets/theme/Colors.h"
#include "widgets/theme/Fonts.h"
#include "widgets/theme/ForeignText.h"
#include "widgets/theme/Measures.h"
#include "widgets/theme/Symbols.h"

namespace tovri {
namespace {

constexpr int padding = 10;
constexpr int lineGap = 6;
constexpr int steps = 1000;

QWidget* makeLine() {
    auto* line = new QWidget;
    line->setFixedHeight(1);
    line->setBackgroundRole(QPalette::Mid);
    line->setAutoFillBackground(true);
    return line;
}

}  // namespace

UploadStatus::UploadStatus(QWidget* parent)
    : QWidget(parent), symbol_(makeLabel()), text_(makeLabel()), count_(makeLabel()), bar_(new QProgressBar) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(makeLine());
    auto* panel = new QVBoxLayout;
    panel->setContentsMargins(padding, padding, padding, padding);
    panel->setSpacing(lineGap);
    column->addLayout(panel);
    auto* line = new QHBoxLayout;
    line->setSpacing(lineGap);
    line->addWidget(symbol_);
    line->addWidget(text_);
    line->addStretch();
    line->addWidget(count_);
    panel->addLayout(line);
    panel->addWidget(bar_);
    text_->setText(textOf(UploadPanel::text));
    bar_->setRange(0, steps);
    bar_->setTextVisible(false);
    bar_->setFixedHeight(measures::spacing);
    bar_->setAccessibleName(textOf(UploadPanel::text));
    dress();
    hide();
}

void UploadStatus::show(const std::optional<UploadPanel>& panel) {
    if (panel) {
        count_->setText(textOf(panel->count));
        bar_->setValue(static_cast<int>(panel->fraction * steps));
        setAccessibleName(text_->text() + ' ' + count_->text());
    }
    setVisible(panel.has_value());
}

void UploadStatus::dress() {
    const QSize size(measures::smallSymbol, measures::smallSymbol);
    symbol_->setPixmap(symbolIcon(UploadPanel::symbol, Tint::accent).pixmap(size, devicePixelRatioF()));
    text_->setFont(captionFont(font()));
    count_->setFont(tabularFont(captionFont(font())));
    setTint(*text_, Tint::secondary);
}

void UploadStatus::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange) dress();
}

}  // namespace tovri
