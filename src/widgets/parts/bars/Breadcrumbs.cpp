#include "widgets/parts/bars/Breadcrumbs.h"

#include <QDragEnterEvent>
#include <QEvent>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QStyle>
#include <QToolButton>
#include <algorithm>

#include "widgets/parts/TurningSign.h"
#include "widgets/parts/text/Texts.h"
#include "widgets/theme/Colors.h"
#include "widgets/theme/Fonts.h"
#include "widgets/theme/ForeignText.h"
#include "widgets/theme/Measures.h"
#include "widgets/theme/Symbols.h"

namespace tovri {
namespace {

constexpr int lineHeight = 36;
constexpr int separatorWidth = measures::smallSymbol;
constexpr int widestName = 240;

}  // namespace

Breadcrumbs::Breadcrumbs(QWidget* parent)
    : QWidget(parent), fold_(new QToolButton(this)), busy_(new TurningSign(this)) {
    busy_->hide();
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    fold_->setText(QStringLiteral("…"));
    fold_->setAccessibleName(tr("More folders"));
    setPlainToolTip(*fold_, tr("More folders"));
    fold_->setAutoRaise(true);
    fold_->setPopupMode(QToolButton::InstantPopup);
    fold_->setMenu(new QMenu(fold_));
}

void Breadcrumbs::show(const QStringList& names) {
    if (names == names_) return;
    names_ = names;
    for (QToolButton* button : buttons_) button->deleteLater();
    buttons_.clear();
    dropFolder_ = -1;
    for (int i = 0; i < names.size(); ++i) buttons_ << makeButton(names[i], i + 1 == names.size(), i);
    arrange();
}

QToolButton* Breadcrumbs::makeButton(const QString& name, bool isLast, int index) {
    auto* button = new QToolButton(this);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::TabFocus);
    button->setFont(isLast ? semiboldFont(font()) : font());
    const QString shown = button->fontMetrics().elidedText(name, Qt::ElideRight, widestName);
    button->setText(QString(shown).replace('&', QLatin1StringView("&&")));
    button->setAccessibleName(name);
    if (shown != name) setPlainToolTip(*button, name);
    connect(button, &QToolButton::clicked, this, [this, index] { emit chosen(index); });
    return button;
}

// How many of the buttons after the first one have no room.
int Breadcrumbs::foldedCount() const {
    int needed = 2 * measures::spacing - separatorWidth;
    for (const QToolButton* button : buttons_) needed += button->sizeHint().width() + separatorWidth;
    int folded = 0;
    while (needed > endOfLine() + measures::spacing && folded < static_cast<int>(buttons_.size()) - 2) {
        if (folded == 0) needed += fold_->sizeHint().width() + separatorWidth;
        ++folded;
        needed -= buttons_[folded]->sizeHint().width() + separatorWidth;
    }
    return folded;
}

// Where the sign has its place, whether it is there or not.
int Breadcrumbs::endOfLine() const {
    return width() - measures::margin - busy_->sizeHint().width() - measures::spacing;
}

// The first name, not its button, begins where the rows below do.
int Breadcrumbs::startOfLine() const {
    if (buttons_.isEmpty()) return measures::margin;
    const QToolButton* first = buttons_.constFirst();
    const int textWidth = first->fontMetrics().size(Qt::TextShowMnemonic, first->text()).width();
    return measures::margin - (first->sizeHint().width() - textWidth) / 2;
}

void Breadcrumbs::arrange() {
    const int folded = foldedCount();
    separators_.clear();
    const int start = startOfLine();
    int x = start;
    const auto place = [&](QToolButton* button) {
        if (x > start) {
            separators_ << x;
            x += separatorWidth;
        }
        const QSize size(std::min(button->sizeHint().width(), std::max(0, endOfLine() - x)), measures::inlineButton);
        const QRect logical(QPoint(x, (height() - size.height()) / 2), size);
        button->setGeometry(QStyle::visualRect(layoutDirection(), rect(), logical));
        button->show();
        x += size.width();
    };
    const QSize sign = busy_->sizeHint();
    const QRect end(QPoint(width() - measures::margin - sign.width(), (height() - sign.height()) / 2), sign);
    busy_->setGeometry(QStyle::visualRect(layoutDirection(), rect(), end));
    fold_->setVisible(folded > 0);
    fold_->menu()->clear();
    for (int i = 0; i < buttons_.size(); ++i) {
        if (i < 1 || i > folded) {
            place(buttons_[i]);
            continue;
        }
        buttons_[i]->hide();
        if (i == 1) place(fold_);
        fold_->menu()->addAction(titleOf(names_[i].toStdString()), this, [this, i] { emit chosen(i); });
    }
    update();
}

QSize Breadcrumbs::sizeHint() const {
    return {0, lineHeight};
}

QSize Breadcrumbs::minimumSizeHint() const {
    return sizeHint();
}

void Breadcrumbs::setBusy(bool isBusy) {
    busy_->setVisible(isBusy);
}

// --- Dropping ---

void Breadcrumbs::takeDrops(Drops drops) {
    drops_ = std::move(drops);
    setAcceptDrops(true);
}

int Breadcrumbs::folderAt(const QPoint& point) const {
    const auto isThere = [&](const QToolButton* button) {
        return button->isVisible() && button->geometry().contains(point);
    };
    const auto found = std::ranges::find_if(buttons_, isThere);
    return found == buttons_.end() ? -1 : static_cast<int>(found - buttons_.begin());
}

void Breadcrumbs::setDropFolder(int index) {
    if (dropFolder_ >= 0) buttons_[dropFolder_]->setDown(false);
    dropFolder_ = index;
    if (dropFolder_ >= 0) buttons_[dropFolder_]->setDown(true);
}

void Breadcrumbs::consider(QDropEvent& event) {
    const int folder = folderAt(event.position().toPoint());
    const bool isAccepted = folder >= 0 && drops_.accepts(folder, *event.mimeData());
    setDropFolder(isAccepted ? folder : -1);
    event.setDropAction(event.mimeData()->hasUrls() ? Qt::CopyAction : Qt::MoveAction);
    event.setAccepted(isAccepted);
}

void Breadcrumbs::dragEnterEvent(QDragEnterEvent* event) {
    consider(*event);
    event->accept();  // another folder may take it
}

void Breadcrumbs::dragMoveEvent(QDragMoveEvent* event) {
    consider(*event);
}

void Breadcrumbs::dragLeaveEvent(QDragLeaveEvent*) {
    setDropFolder(-1);
}

void Breadcrumbs::dropEvent(QDropEvent* event) {
    consider(*event);
    const int folder = dropFolder_;
    setDropFolder(-1);
    if (folder >= 0) drops_.take(folder, *event->mimeData());
}

void Breadcrumbs::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    for (const int x : separators_) {
        const QRect logical(x, 0, separatorWidth, height());
        paintSymbol(painter, QStyle::visualRect(layoutDirection(), rect(), logical), separatorWidth, "chevron.right",
                    color(Tint::tertiary, palette()));
    }
}

void Breadcrumbs::resizeEvent(QResizeEvent*) {
    arrange();
}

void Breadcrumbs::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::LayoutDirectionChange || event->type() == QEvent::FontChange) arrange();
}

}  // namespace tovri
