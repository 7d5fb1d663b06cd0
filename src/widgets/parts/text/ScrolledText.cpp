#include "widgets/parts/text/ScrolledText.h"

#include <algorithm>

#include "widgets/parts/text/TextLabel.h"

namespace tovri {
namespace {

constexpr int leastLines = 3;  // where there are more

}  // namespace

ScrolledText::ScrolledText(QWidget* parent) : QScrollArea(parent), label_(new TextLabel) {
    label_->setWordWrap(true);
    label_->setAlignment(label_->alignment() | Qt::AlignTop);
    setWidget(label_);
    setWidgetResizable(true);
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    viewport()->setAutoFillBackground(false);
    label_->setAutoFillBackground(false);
}

void ScrolledText::setText(const QString& text) {
    label_->setText(text);
    updateGeometry();
}

QLabel& ScrolledText::label() const {
    return *label_;
}

QSize ScrolledText::sizeHint() const {
    const int width = std::max(minimumWidth(), 1);
    return {width, label_->heightForWidth(width)};
}

// The keyboard reaches it where there is something to scroll.
void ScrolledText::resizeEvent(QResizeEvent* event) {
    QScrollArea::resizeEvent(event);
    const bool hasMore = label_->heightForWidth(viewport()->width()) > viewport()->height();
    setFocusPolicy(hasMore ? Qt::TabFocus : Qt::NoFocus);
}

QSize ScrolledText::minimumSizeHint() const {
    return {0, std::min(sizeHint().height(), leastLines * fontMetrics().lineSpacing())};
}

}  // namespace tovri
