#include "widgets/parts/bars/NoticeBar.h"

#include <QAccessible>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QToolButton>

#include "widgets/parts/text/TextLabel.h"
#include "widgets/parts/text/Texts.h"
#include "widgets/theme/Colors.h"
#include "widgets/theme/ForeignText.h"
#include "widgets/theme/Measures.h"
#include "widgets/theme/Symbols.h"

namespace tovri {
namespace {

QToolButton* makeButton() {
    auto* button = new QToolButton;
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::TabFocus);
    button->setMinimumHeight(measures::inlineButton);
    return button;
}

}  // namespace

NoticeBar::NoticeBar(Notices& notices, QWidget* parent)
    : QWidget(parent),
      notices_(notices),
      symbol_(makeLabel()),
      text_(new TextLabel),
      action_(makeButton()),
      close_(makeButton()),
      following_(notices.onChange([this] { showNotice(); })) {
    auto* line = new QHBoxLayout(this);
    line->setContentsMargins(measures::margin, measures::gap, measures::spacing, measures::gap);
    line->setSpacing(measures::spacing);
    text_->setWordWrap(true);
    setPlainToolTip(*close_, tr("Close"));
    close_->setAccessibleName(tr("Close"));
    line->addWidget(symbol_);
    line->addWidget(text_, 1);
    line->addWidget(action_);
    line->addWidget(close_);
    connect(action_, &QToolButton::clicked, this, [this] { notices_.perform(); });
    connect(close_, &QToolButton::clicked, this, [this] { notices_.close(); });
    showNotice();
}

void NoticeBar::showNotice() {
    const Notice* notice = notices_.shown();
    if (notice != nullptr) {
        tint_ = notice->kind == Notice::Kind::failure ? Tint::attention : Tint::success;
        text_->setText(textOf(notice->text));
        action_->setText(titleOf(notice->action));
        action_->setVisible(!notice->action.empty());
        dress();
    }
    setVisible(notice != nullptr);
    if (notice != nullptr) announce();
}

void NoticeBar::announce() {
    setAccessibleName(text_->text());
    QAccessibleEvent event(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&event);
}

void NoticeBar::dress() {
    const QSize size(measures::symbol, measures::symbol);
    const bool isFailure = tint_ == Tint::attention;
    const char* name = isFailure ? "exclamationmark.triangle.fill" : "checkmark.circle.fill";
    symbol_->setPixmap(symbolIcon(name, tint_).pixmap(size, devicePixelRatioF()));
    close_->setIcon(symbolIcon("xmark"));
}

void NoticeBar::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(QRect(0, 0, width(), 1), lineColor(palette()));
}

void NoticeBar::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) dress();
}

}  // namespace tovri
