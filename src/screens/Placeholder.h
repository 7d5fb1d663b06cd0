#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace tovri {

// What stands in the middle of a screen that has no rows to show.
struct Placeholder {
    enum class Kind : std::uint8_t { progress, message };

    Kind kind = Kind::message;
    std::string_view symbol;  // static text; empty with progress, whose sign turns
    std::string title;        // empty with progress
    std::string text;
    std::string button;  // the title of the one button that helps, or empty

    bool operator==(const Placeholder&) const = default;
};

// A turning sign over the text.
[[nodiscard]] inline Placeholder progressPlaceholder(std::string text) {
    return {Placeholder::Kind::progress, "", "", std::move(text), ""};
}

// The filter lets no row through, and its button takes it away.
[[nodiscard]] inline Placeholder noMatchesPlaceholder(const std::string& filter) {
    return {Placeholder::Kind::message, "magnifyingglass", "No Matches", "Nothing here is called “" + filter + "”.",
            "Clear Filter"};
}

// What kept a list from loading, and the way to try again.
[[nodiscard]] inline Placeholder errorPlaceholder(std::string error) {
    return {Placeholder::Kind::message, "exclamationmark.triangle", "Error", std::move(error), "Retry"};
}

}  // namespace tovri
