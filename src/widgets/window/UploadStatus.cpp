#include "widgets/window/UploadStatus.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>

#include "widgets/parts/text/Texts.h"
#include "widgets/theme/Fonts.h"
#include "widgets/theme/ForeignText.h"
#include "widgets/theme/Measures.h"
#include "widgets/theme/Symbols.h"

namespace tovri {
namespace {

constexpr int steps = 1000;

}  // namespace

UploadStatus::UploadStatus(QWidget* parent)
    : SidebarPanel(parent), symbol_(makeLabel()), text_(makeLabel()), count_(makeLabel()), bar_(new QProgressBar) {
    auto* line = new QHBoxLayout;
    line->setSpacing(lineGap);
    line->addWidget(symbol_);
    line->addWidget(text_);
    line->addStretch();
    line->addWidget(count_);
    lines()->addLayout(line);
    lines()->addWidget(bar_);
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

}  // namespace tovri
