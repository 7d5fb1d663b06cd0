#pragma once

#include <QTextEdit>

#include "screens/Details.h"

namespace tovri {

// Details as one text that can be read, selected and copied with the pointer and with the keyboard: each fact below its
// label. A long name is broken wherever the line ends, and is copied as it is.
class DetailsText final : public QTextEdit {
    Q_OBJECT

public:
    explicit DetailsText(QWidget* parent = nullptr);

    // Writes only what has changed, so that what is selected elsewhere, and what is in sight, stays.
    void show(const Details& details);
    using QTextEdit::show;

protected:
    [[nodiscard]] QMimeData* createMimeDataFromSelection() const override;
    void changeEvent(QEvent* event) override;

private:
    void build();
    void rewrite(int fact);
    void write(QTextCursor& place, const QString& text, const QTextCharFormat& letters, int above) const;
    [[nodiscard]] QTextCharFormat letters(const QFont& font, Tint tint) const;
    [[nodiscard]] QTextCharFormat lettersOf(const Details::Fact& fact) const;

    Details shown_;
};

}  // namespace tovri
