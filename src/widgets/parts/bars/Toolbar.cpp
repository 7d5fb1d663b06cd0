#include "widgets/parts/bars/Toolbar.h"

#include <QAction>
#include <QActionGroup>
#include <QEvent>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QMenu>
#include <QPainter>
#include <QToolButton>
#include <algorithm>

#include "widgets/parts/TurningSign.h"
#include "widgets/parts/text/Texts.h"
#include "widgets/theme/Colors.h"
#include "widgets/theme/ForeignText.h"
#include "widgets/theme/Measures.h"
#include "widgets/theme/Symbols.h"

namespace tovri {
namespace {

constexpr int buttonHeight = 32;
constexpr int searchWidth = 200;
constexpr const char* actionProperty = "tovriAction";

void keepPlaceWhenHidden(QWidget& part) {
    QSizePolicy policy = part.sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    part.setSizePolicy(policy);
}

}  // namespace

Toolbar::Toolbar(QWidget* parent) : QWidget(parent), line_(new QHBoxLayout(this)) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    line_->setContentsMargins(measures::spacing, measures::spacing, measures::spacing, measures::spacing);
    line_->setSpacing(measures::gap);
    line_->addStretch();
    addSearch();
}

void Toolbar::addSearch() {
    search_ = new QLineEdit;
    search_->setClearButtonEnabled(true);
    QAction* sign = search_->addAction(symbolIcon("magnifyingglass", Tint::secondary), QLineEdit::LeadingPosition);
    connect(sign, &QAction::triggered, this, &Toolbar::focusSearch);
    search_->setMinimumWidth(searchWidth / 2);
    search_->setMaximumWidth(searchWidth);
    search_->setFixedHeight(buttonHeight);
    search_->hide();
    line_->addWidget(search_, 1);
    connect(search_, &QLineEdit::textChanged, this, &Toolbar::searchChanged);
}

void Toolbar::show(const std::vector<ToolbarEntry>& entries) {
    if (entries == entries_) return;
    if (!std::ranges::equal(entries, entries_, {}, &ToolbarEntry::kind, &ToolbarEntry::kind)) build(entries);
    entries_ = entries;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const ToolbarEntry& entry = entries[i];
        if (auto* button = qobject_cast<QToolButton*>(parts_[i])) fill(*button, entry);
        if (entry.kind == ToolbarEntry::Kind::searchField) nameSearch(textOf(entry.title));
        parts_[i]->setVisible(entry.isVisible);
    }
    measure();
}

// Also the buttons within the field.
void Toolbar::nameSearch(const QString& prompt) {
    search_->setPlaceholderText(prompt);
    search_->setAccessibleName(prompt);
    search_->actions().front()->setText(prompt);
    for (auto* button : search_->findChildren<QToolButton*>()) {
        const bool isSign = button->defaultAction() == search_->actions().front();
        const QString name = isSign ? prompt : tr("Clear");
        button->setAccessibleName(name);
        setPlainToolTip(*button, name);
    }
}

void Toolbar::build(const std::vector<ToolbarEntry>& entries) {
    for (QWidget* part : parts_) {
        if (part == search_) continue;
        line_->removeWidget(part);
        part->deleteLater();
    }
    parts_.clear();
    search_->hide();
    int place = 0;
    for (const ToolbarEntry& entry : entries) {
        QWidget* part = makePart(entry);
        parts_.push_back(part);
        if (entry.kind == ToolbarEntry::Kind::progress)
            line_->insertWidget(line_->indexOf(search_), part);
        else if (part != search_)
            line_->insertWidget(place++, part);
    }
}

QWidget* Toolbar::makePart(const ToolbarEntry& entry) {
    switch (entry.kind) {
        case ToolbarEntry::Kind::progress:
            return makeTurningSign();
        case ToolbarEntry::Kind::searchField:
            return search_;
        case ToolbarEntry::Kind::button:
        case ToolbarEntry::Kind::menu:
            return makeButton(entry);
    }
    return nullptr;
}

QWidget* Toolbar::makeTurningSign() {
    auto* sign = new TurningSign;
    keepPlaceWhenHidden(*sign);
    return sign;
}

QToolButton* Toolbar::makeButton(const ToolbarEntry& entry) {
    auto* button = new QToolButton;
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::TabFocus);
    button->setIconSize({measures::symbol, measures::symbol});
    button->setFixedHeight(buttonHeight);
    keepPlaceWhenHidden(*button);
    if (entry.kind == ToolbarEntry::Kind::menu) {
        button->setPopupMode(QToolButton::InstantPopup);
        button->setMenu(new QMenu(button));
    } else {
        button->installEventFilter(this);
        connect(button, &QToolButton::clicked, this,
                [this, button] { emit triggered(button->property(actionProperty).toInt()); });
    }
    return button;
}

void Toolbar::fill(QToolButton& button, const ToolbarEntry& entry) {
    button.setText(titleOf(entry.title));
    button.setIcon(symbolIcon(entry.symbol));
    setPlainToolTip(button, textOf(entry.help.empty() ? entry.title : entry.help));
    button.setAccessibleName(textOf(entry.title));
    button.setAccessibleDescription(textOf(entry.help));
    button.setEnabled(entry.isEnabled);
    if (entry.action) button.setProperty(actionProperty, *entry.action);
    if (button.menu() == nullptr) return;
    button.menu()->clear();
    auto* choices = new QActionGroup(button.menu());
    for (const ToolbarEntry::Choice& choice : entry.choices) {
        QAction* line = button.menu()->addAction(titleOf(choice.title));
        line->setCheckable(true);
        line->setChecked(choice.isChosen);
        choices->addAction(line);
        connect(line, &QAction::triggered, this, [this, action = choice.action] { emit triggered(action); });
    }
}

// --- With titles or without ---

void Toolbar::setTexts(Qt::ToolButtonStyle style) {
    for (std::size_t i = 0; i < parts_.size(); ++i) {
        auto* button = qobject_cast<QToolButton*>(parts_[i]);
        if (button == nullptr) continue;
        const bool isAlone = entries_[i].isCompact && !button->icon().isNull();
        button->setToolButtonStyle(isAlone                   ? Qt::ToolButtonIconOnly
                                   : button->icon().isNull() ? Qt::ToolButtonTextBesideIcon
                                                             : style);
    }
}

int Toolbar::widthOfParts(int search) const {
    const QMargins margins = line_->contentsMargins();
    int width = margins.left() + margins.right();
    for (const QWidget* part : parts_) width += (part == search_ ? search : part->sizeHint().width()) + measures::gap;
    return width;
}

void Toolbar::measure() {
    setTexts(Qt::ToolButtonTextBesideIcon);
    widthWithTexts_ = widthOfParts(searchWidth * 3 / 4);
    setTexts(Qt::ToolButtonIconOnly);
    widthOfSymbols_ = widthOfParts(searchWidth / 2);
    showTexts();
    updateGeometry();
}

void Toolbar::showTexts() {
    setTexts(width() >= widthWithTexts_ ? Qt::ToolButtonTextBesideIcon : Qt::ToolButtonIconOnly);
}

QSize Toolbar::minimumSizeHint() const {
    return {widthOfSymbols_, QWidget::minimumSizeHint().height()};
}

bool Toolbar::hasSearch() const {
    return std::ranges::find(entries_, ToolbarEntry::Kind::searchField, &ToolbarEntry::kind) != entries_.end();
}

void Toolbar::setSearchText(const QString& text) {
    if (search_->text() != text) search_->setText(text);
}

void Toolbar::focusSearch() {
    if (!search_->isVisible()) return;
    search_->setFocus(Qt::ShortcutFocusReason);
    search_->selectAll();
}

// Of the buttons: without its second press, the second click of a double click is none.
bool Toolbar::eventFilter(QObject* watched, QEvent* event) {
    return event->type() == QEvent::MouseButtonDblClick || QWidget::eventFilter(watched, event);
}

void Toolbar::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) measure();
}

void Toolbar::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(QRect(0, rect().bottom(), width(), 1), lineColor(palette()));
}

void Toolbar::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    showTexts();
}

}  // namespace tovri
