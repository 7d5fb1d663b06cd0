#include "widgets/parts/details/DetailsText.h"

#include <QApplication>
#include <QMimeData>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextDocumentFragment>
#include <algorithm>
#include <utility>

#include "widgets/parts/text/Texts.h"
#include "widgets/theme/Colors.h"
#include "widgets/theme/Fonts.h"
#include "widgets/theme/Measures.h"

namespace tovri {
namespace {

constexpr int labelGap = 2;  // between a label and what stands below it

// Several lines stay one block.
QString linesOf(std::string_view text) {
    return textOf(text).replace(u'\n', QChar::LineSeparator);
}

// The title comes first, then each label with its text.
int blockOf(int fact) {
    return 2 + 2 * fact;
}

bool haveSameLines(const Details& one, const Details& other) {
    return one.title == other.title && one.hint == other.hint &&
           std::ranges::equal(one.facts, other.facts, {}, &Details::Fact::label, &Details::Fact::label);
}

}  // namespace

DetailsText::DetailsText(QWidget* parent) : QTextEdit(parent) {
    setReadOnly(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setUndoRedoEnabled(false);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    viewport()->setAutoFillBackground(false);
    document()->setDocumentMargin(measures::margin);
}

void DetailsText::show(const Details& details) {
    if (details == shown_) return;
    const Details before = std::exchange(shown_, details);
    if (!haveSameLines(before, shown_)) {
        const int place = before.title == shown_.title ? verticalScrollBar()->value() : 0;
        build();
        verticalScrollBar()->setValue(place);
        return;
    }
    for (std::size_t i = 0; i < shown_.facts.size(); ++i)
        if (shown_.facts[i] != before.facts[i]) rewrite(static_cast<int>(i));
}

void DetailsText::build() {
    clear();
    const QFont font = QApplication::font();
    QTextCursor end(document());
    if (!shown_.hint.empty()) return write(end, textOf(shown_.hint), letters(font, Tint::secondary), 0);
    write(end, textOf(shown_.title), letters(semiboldFont(font), Tint::primary), 0);
    for (const Details::Fact& fact : shown_.facts) {
        end.insertBlock();
        write(end, textOf(fact.label), letters(captionFont(font), Tint::secondary), measures::margin);
        end.insertBlock();
        write(end, linesOf(fact.text), lettersOf(fact), labelGap);
    }
}

void DetailsText::rewrite(int fact) {
    const Details::Fact& written = shown_.facts[static_cast<std::size_t>(fact)];
    QTextCursor place(document()->findBlockByNumber(blockOf(fact)));
    place.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
    write(place, linesOf(written.text), lettersOf(written), labelGap);
}

// A line begins where those of the layout begin, and runs as it is written.
void DetailsText::write(QTextCursor& place, const QString& text, const QTextCharFormat& letters, int above) const {
    QTextBlockFormat format;
    format.setTopMargin(above);
    format.setAlignment((isRightToLeft() ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignAbsolute);
    format.setLayoutDirection(text.isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight);
    place.setBlockFormat(format);
    place.insertText(text, letters);
}

QTextCharFormat DetailsText::lettersOf(const Details::Fact& fact) const {
    return letters(tabularFont(QApplication::font()), fact.tint);
}

QTextCharFormat DetailsText::letters(const QFont& font, Tint tint) const {
    QTextCharFormat format;
    format.setFont(font);
    format.setForeground(color(tint, palette()));
    return format;
}

// Without the fonts and colours.
QMimeData* DetailsText::createMimeDataFromSelection() const {
    auto* data = new QMimeData;
    data->setText(textCursor().selection().toPlainText());
    return data;
}

void DetailsText::changeEvent(QEvent* event) {
    QTextEdit::changeEvent(event);
    const QEvent::Type type = event->type();
    if (type == QEvent::PaletteChange || type == QEvent::FontChange || type == QEvent::LayoutDirectionChange) build();
}

}  // namespace tovri
