#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/Bytes.h"
#include "screens/Tint.h"

namespace tovri {

// Where the links of the details lead.
enum class DetailsAction : std::uint8_t {
    showInFolder,  // in the file manager
    openOnPutIO,   // in the browser
};

// What there is to say of what is selected, for the panel beside the rows.
struct Details {
    struct Fact {
        std::string label;
        std::string text;  // a line, or several
        Tint tint = Tint::primary;

        bool operator==(const Fact&) const = default;
    };

    struct Link {
        DetailsAction action;
        std::string_view symbol;  // static text
        std::string title;

        bool operator==(const Link&) const = default;
    };

    std::string title;  // a name, or how many are selected; empty where nothing is
    std::vector<Fact> facts = {};
    std::vector<Link> links = {};
    std::string hint = {};  // in place of all else

    bool operator==(const Details&) const = default;
};

// Where nothing is selected.
[[nodiscard]] inline Details noDetails(std::string hint) {
    return {.title = "", .hint = std::move(hint)};
}

// How large several are together.
struct SelectedSizes {
    std::size_t count = 0;
    std::size_t unknown = 0;  // of how many of them nobody knows
    ByteCount sum = 0;        // of the others

    void add(std::optional<ByteCount> size) {
        ++count;
        if (!size) ++unknown;
        if (size.value_or(0) > 0) sum += *size;
    }
};

// `noun` is what they are: "downloads".
[[nodiscard]] Details selectionDetails(const SelectedSizes& selected, std::string_view noun);

// "14.3 MB (14,300,123 bytes)", "153 bytes".
[[nodiscard]] std::string wholeSizeText(ByteCount size);

[[nodiscard]] inline Details::Link putIOLink() {
    return {DetailsAction::openOnPutIO, "globe", "Open on put.io"};
}

}  // namespace tovri
