#pragma once

#include <QString>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "screens/Tint.h"
#include "widgets/theme/Measures.h"

namespace tovri {

// How high a row is, and what it can be told apart by without reading it.
enum class RowShape : std::uint8_t {
    header,    // of a section: a title alone, not selectable
    plain,     // title and caption
    progress,  // with a bar between them
};

// A part of the caption.
struct CaptionSegment {
    QString text;
    Tint tint = Tint::secondary;
    std::string_view symbol = {};  // before the text, or empty
};

// At the row's end; the symbol alone is seen.
struct InlineButton {
    int action = 0;  // what the view reports
    std::string_view symbol;
    QString help;  // tooltip and accessible name
    bool isEnabled = true;
};

struct RowProgress {
    std::optional<double> fraction;  // 0 to 1; none: of unknown length, the bar moves
    Tint tint = Tint::accent;
};

// Everything that is drawn of one row. Symbols are static text.
struct RowContent {
    RowShape shape = RowShape::plain;
    std::string_view symbol = {};  // empty: a sign that turns
    Tint symbolTint = Tint::secondary;
    int symbolSize = measures::symbol;
    bool pulses = false;
    QString title = {};
    std::vector<CaptionSegment> caption = {};
    QString separator = QStringLiteral(" · ");  // between the segments
    std::optional<RowProgress> progress = {};
    std::vector<InlineButton> buttons = {};
    std::string_view trailingSymbol = {};  // in the tertiary tint, or empty
    std::optional<bool> isOpen = {};       // of a row that can have others below it
    int level = 0;                         // below how many rows it belongs
    QString toolTip = {};                  // empty: the texts that are cut off

    [[nodiscard]] QString captionText() const;
};

}  // namespace tovri
