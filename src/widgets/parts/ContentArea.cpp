#include "widgets/parts/ContentArea.h"

#include <QApplication>
#include <QStackedLayout>

#include "widgets/parts/PlaceholderView.h"

namespace tovri {

ContentArea::ContentArea(QWidget* content, QWidget* focused)
    : content_(content), focused_(focused), placeholder_(new PlaceholderView), stack_(new QStackedLayout(this)) {
    stack_->addWidget(content_);
    stack_->addWidget(placeholder_);
    connect(placeholder_, &PlaceholderView::buttonPressed, this, &ContentArea::buttonPressed);
}

void ContentArea::show(const std::optional<Placeholder>& placeholder) {
    if (placeholder == shown_) return;
    shown_ = placeholder;
    const bool hadFocus = holdsFocus();
    if (hadFocus) setFocus();  // before what has it goes out of sight, and the focus elsewhere
    if (placeholder) placeholder_->show(*placeholder);
    stack_->setCurrentWidget(placeholder ? static_cast<QWidget*>(placeholder_) : content_);
    if (hadFocus && !placeholder) takeFocus();
}

void ContentArea::takeFocus() {
    if (shown_)
        setFocus();
    else
        focused_->setFocus();
}

bool ContentArea::holdsFocus() const {
    const QWidget* focused = window()->focusWidget();
    return focused != nullptr && (focused == this || isAncestorOf(focused));
}

}  // namespace tovri
