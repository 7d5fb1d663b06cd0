#include "widgets/parts/details/DetailsSplit.h"

#include <algorithm>

#include "widgets/parts/details/DetailsSetting.h"

namespace tovri {
namespace {

constexpr int leastForRows = 300;

}  // namespace

DetailsSplit::DetailsSplit(QWidget* content, QWidget* details) : details_(details) {
    addWidget(content);
    addWidget(details);
    content->setMinimumWidth(leastForRows);  // what is in it would take more, from the sidebar
    details->setMinimumWidth(DetailsSetting::leastWidth);
    details->setMaximumWidth(DetailsSetting::mostWidth);
    details->hide();
    setStretchFactor(0, 1);
    setChildrenCollapsible(false);
    setHandleWidth(1);
    // From right to left a splitter lays its parts out one pixel too far to the right.
    if (isRightToLeft()) setContentsMargins(1, 0, 0, 0);
}

void DetailsSplit::follow(DetailsSetting& setting) {
    setting_ = &setting;
    connect(&setting, &DetailsSetting::changed, this, &DetailsSplit::arrange);
    connect(this, &QSplitter::splitterMoved, &setting, [this] { setting_->setWidth(sizes().back()); });
    arrange();
}

void DetailsSplit::arrange() {
    if (!setting_) return;
    details_->setVisible(setting_->isShown());
    const int room = contentsRect().width() - handleWidth();
    const int wide = std::max(std::min(setting_->width(), room - leastForRows), DetailsSetting::leastWidth);
    if (setting_->isShown() && sizes().back() != wide) setSizes({room - wide, wide});
}

void DetailsSplit::resizeEvent(QResizeEvent* event) {
    QSplitter::resizeEvent(event);
    arrange();
}

}  // namespace tovri
