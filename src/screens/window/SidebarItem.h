#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tovri {

// The sections of the application, in the order of the sidebar.
enum class SidebarItem : std::uint8_t { files, transfers, downloads, sync, rss };

inline constexpr std::array allSidebarItems{SidebarItem::files, SidebarItem::transfers, SidebarItem::downloads,
                                            SidebarItem::sync, SidebarItem::rss};

[[nodiscard]] constexpr std::string_view title(SidebarItem item) {
    constexpr std::array<std::string_view, allSidebarItems.size()> titles = {"Files", "Transfers", "Downloads",
                                                                             "Automate", "RSS"};
    return titles[static_cast<std::size_t>(item)];
}

[[nodiscard]] constexpr std::string_view symbol(SidebarItem item) {
    constexpr std::array<std::string_view, allSidebarItems.size()> symbols = {
        "folder", "arrow.up.arrow.down.circle", "arrow.down.circle", "arrow.triangle.2.circlepath",
        "dot.radiowaves.up.forward"};
    return symbols[static_cast<std::size_t>(item)];
}

// The digit that selects the section together with Ctrl: 1 for the first.
[[nodiscard]] constexpr int shortcutDigit(SidebarItem item) {
    return static_cast<int>(item) + 1;
}

}  // namespace tovri
