#pragma once

#include <string>
#include <string_view>

namespace tovri {

// How the user's language orders texts and tells whether they are alike. Both operations turn a text into bytes, once,
// so that sorting and searching many texts afterwards costs no more than comparing bytes. Upper and lower case count as
// the same; an accent does not. Texts are UTF-8; what is not counts as some unknown letter.
class TextCollation {
public:
    virtual ~TextCollation() = default;

    // The order of two keys, byte by byte, is the order of their texts.
    [[nodiscard]] virtual std::string sortKey(std::string_view text) const = 0;

    // A text contains another when its key contains the other's.
    [[nodiscard]] virtual std::string searchKey(std::string_view text) const = 0;
};

}  // namespace tovri
