#include "widgets/window/signin/SignInView.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QHideEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QSignalBlocker>

#include "widgets/parts/TurningSign.h"
#include "widgets/parts/sheets/Sheet.h"
#include "widgets/parts/text/TextLabel.h"
#include "widgets/parts/text/Texts.h"
#include "widgets/theme/Colors.h"
#include "widgets/theme/Fonts.h"
#include "widgets/theme/ForeignText.h"
#include "widgets/theme/Measures.h"
#include "widgets/theme/Style.h"
#include "widgets/theme/Symbols.h"
#include "widgets/window/signin/LinkButton.h"

namespace tovri {
namespace {

constexpr int symbolSize = 99;  // of which 72 are seen
constexpr int blockWidth = 400;
constexpr double taglineScale = 1.35;

QVBoxLayout* makeBlock(QWidget& block) {
    block.setFixedWidth(blockWidth);
    auto* column = new QVBoxLayout(&block);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(measures::spacing);
    return column;
}

QPixmap brandSymbol(const QWidget& widget) {
    const QRect area(0, 0, symbolSize, symbolSize);
    QPixmap picture(area.size() * widget.devicePixelRatioF());
    picture.setDevicePixelRatio(widget.devicePixelRatioF());
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    paintSymbol(painter, area, symbolSize, SignInScreen::symbol, brandColor(widget.palette()));
    return picture;
}

// What is typed does not jump away from under the cursor when the screen says the same.
void showText(QLineEdit& field, const std::string& text) {
    if (field.text() != textOf(text)) field.setText(textOf(text));
}

}  // namespace

SignInView::SignInView(SignInScreen& screen, QWidget* parent)
    : QScrollArea(parent),
      screen_(screen),
      symbol_(makeLabel()),
      name_(makeLabel(SignInScreen::name)),
      tagline_(makeLabel(SignInScreen::tagline)),
      change_(new LinkButton(SignInScreen::changeClientIDLabel)),
      error_(new ErrorLine(calloutFont)),
      notice_(new TextLabel),
      following_(screen.onChange([this] { update(); })) {
    setFrameShape(QFrame::NoFrame);
    setWidgetResizable(true);
    setFocusPolicy(Qt::NoFocus);
    auto* page = new QWidget;
    auto* column = new QVBoxLayout(page);
    column->setContentsMargins(measures::sectionGap, measures::sectionGap, measures::sectionGap, measures::sectionGap);
    column->setSpacing(measures::margin);
    column->addStretch();
    addName(*column);
    column->addSpacing(measures::margin);
    setup_ = makeSetup();
    waiting_ = makeWaiting();
    column->addWidget(setup_, 0, Qt::AlignHCenter);
    column->addWidget(makeSignInButton(), 0, Qt::AlignHCenter);
    column->addWidget(waiting_, 0, Qt::AlignHCenter);
    column->addWidget(change_, 0, Qt::AlignHCenter);
    column->addWidget(error_, 0, Qt::AlignHCenter);
    column->addWidget(notice_, 0, Qt::AlignHCenter);
    column->addStretch();
    connect(change_, &QToolButton::clicked, this, [this] {
        screen_.changeClientID();
        focusClientID();
    });
    for (auto* button : page->findChildren<QPushButton*>()) button->setAutoDefault(true);  // Return presses it
    setWidget(page);
    viewport()->setBackgroundRole(QPalette::Base);
    page->setBackgroundRole(QPalette::Base);
    page->setAutoFillBackground(true);
    update();
    dress();
}

void SignInView::addName(QVBoxLayout& column) {
    for (QLabel* label : {symbol_, name_, tagline_}) column.addWidget(label, 0, Qt::AlignHCenter);
}

QWidget* SignInView::makeSetup() {
    auto* block = new QWidget;
    QVBoxLayout* column = makeBlock(*block);
    headline_ = new TextLabel(SignInScreen::setupHeadline);
    hint_ = new TextLabel;
    hint_->setWordWrap(true);
    hint_->setTextFormat(Qt::RichText);  // our own words
    hint_->setTextInteractionFlags(Qt::LinksAccessibleByMouse | Qt::LinksAccessibleByKeyboard);
    connect(hint_, &QLabel::linkActivated, this, [this] { screen_.openApplicationPage(); });
    auto* line = new QHBoxLayout;
    line->setSpacing(measures::spacing);
    clientID_ = new QLineEdit;
    clientID_->setPlaceholderText(SignInScreen::clientIDPrompt);
    clientID_->setAccessibleName(SignInScreen::clientIDPrompt);
    save_ = new QPushButton(SignInScreen::saveLabel);
    line->addWidget(clientID_, 1);
    line->addWidget(save_);
    column->addWidget(headline_);
    column->addWidget(hint_);
    column->addLayout(line);
    connect(clientID_, &QLineEdit::textChanged, this,
            [this](const QString& text) { screen_.setClientID(text.toStdString()); });
    connect(clientID_, &QLineEdit::returnPressed, this, [this] { screen_.saveClientID(); });
    connect(save_, &QPushButton::clicked, this, [this] { screen_.saveClientID(); });
    return block;
}

QWidget* SignInView::makeSignInButton() {
    auto* block = new QWidget;
    auto* line = new QHBoxLayout(block);
    line->setContentsMargins(0, 0, 0, 0);
    turning_ = new TurningSign;
    turning_->setFixedSize(measures::symbol, measures::symbol);
    signIn_ = new QPushButton;
    signIn_->setMinimumWidth(220);
    setEmphasis(*signIn_, Emphasis::suggested);
    QSizePolicy staying = turning_->sizePolicy();
    staying.setRetainSizeWhenHidden(true);
    turning_->setSizePolicy(staying);
    line->setSpacing(measures::spacing);
    line->addWidget(turning_);
    line->addWidget(signIn_);
    line->addSpacing(measures::symbol + measures::spacing);  // as much as before it, so that it stands in the middle
    connect(signIn_, &QPushButton::clicked, this, [this] { screen_.signIn(); });
    return block;
}

QWidget* SignInView::makeWaiting() {
    auto* block = new QWidget;
    QVBoxLayout* column = makeBlock(*block);
    auto* buttons = new QHBoxLayout;
    auto* cancel = new QPushButton(SignInScreen::cancelLabel);
    auto* again = new QPushButton(SignInScreen::openAgainLabel);
    buttons->addStretch();
    buttons->addWidget(cancel);
    buttons->addWidget(again);
    buttons->addStretch();
    addressPrompt_ = new TextLabel(SignInScreen::addressPrompt);
    address_ = new QLineEdit;
    address_->setAccessibleName(addressPrompt_->text());
    address_->setEchoMode(QLineEdit::Password);  // it holds the token
    addressPrompt_->setBuddy(address_);
    auto* go = new QPushButton(SignInScreen::continueLabel);
    auto* line = new QHBoxLayout;
    line->addWidget(address_, 1);
    line->addWidget(go);
    addressError_ = new ErrorLine;
    column->addLayout(buttons);
    column->addSpacing(measures::gap);
    column->addWidget(addressPrompt_);
    column->addLayout(line);
    column->addWidget(addressError_);
    const auto submit = [this] { screen_.submitAddress(address_->text().toStdString()); };
    connect(cancel, &QPushButton::clicked, this, [this] { screen_.cancel(); });
    connect(again, &QPushButton::clicked, this, [this] { screen_.openPageAgain(); });
    connect(go, &QPushButton::clicked, this, submit);
    connect(address_, &QLineEdit::returnPressed, this, submit);
    return block;
}

void SignInView::update() {
    setup_->setVisible(screen_.showsClientIDSetup());
    QString hint = textOf(screen_.setupHint()).toHtmlEscaped().replace('\n', QStringLiteral("<br>"));
    const QString page = textOf(screen_.applicationPage()).toHtmlEscaped();
    hint_->setText(hint.replace(page, QStringLiteral("<a href=\"%1\">%1</a>").arg(page)));
    showText(*clientID_, screen_.clientID());
    save_->setEnabled(screen_.canSaveClientID());
    signIn_->setText(screen_.signInLabel());
    signIn_->setEnabled(screen_.canSignIn());
    turning_->setVisible(screen_.isSigningIn());
    waiting_->setVisible(screen_.isSigningIn());
    if (!screen_.isSigningIn()) address_->clear();
    addressError_->show(textOf(screen_.addressError().value_or("")));
    change_->setVisible(screen_.showsChangeClientID());
    showError();
    notice_->setText(textOf(screen_.notice().value_or("")));
    notice_->setVisible(screen_.notice().has_value());
}

// As wide as it is, so that it stands in the middle.
void SignInView::showError() {
    const QString text = textOf(screen_.error().value_or(""));
    const int wanted =
        QFontMetrics(calloutFont(font())).horizontalAdvance(text) + measures::smallSymbol + measures::spacing;
    error_->setFixedWidth(std::min(wanted, blockWidth));
    error_->show(text);
}

void SignInView::dress() {
    symbol_->setPixmap(brandSymbol(*this));
    name_->setFont(signInNameFont(font()));
    QFont tagline = font();
    tagline.setPointSizeF(tagline.pointSizeF() * taglineScale);
    tagline_->setFont(tagline);
    setTint(*tagline_, Tint::secondary);
    headline_->setFont(semiboldFont(font()));
    for (QLabel* label : {hint_, addressPrompt_}) {
        label->setFont(captionFont(font()));
        setTint(*label, Tint::secondary);
    }
    change_->setFont(captionFont(font()));
}

void SignInView::showEvent(QShowEvent* event) {
    QScrollArea::showEvent(event);
    if (event->spontaneous()) return;  // back from the panel, with what is being typed
    screen_.appear();
    if (screen_.showsClientIDSetup())
        focusClientID();
    else
        signIn_->setFocus();
}

// What stands there already is typed over.
void SignInView::focusClientID() {
    clientID_->setFocus();
    clientID_->selectAll();
}

void SignInView::hideEvent(QHideEvent* event) {
    QScrollArea::hideEvent(event);
    if (!event->spontaneous()) screen_.disappear();
}

void SignInView::changeEvent(QEvent* event) {
    QScrollArea::changeEvent(event);
    if (widget() && (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange)) dress();
}

}  // namespace tovri
