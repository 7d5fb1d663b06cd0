#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace tovri {

// In which order the desktop shows the finished downloads. The queue keeps its own in any case.
enum class FinishedOrder : std::uint8_t {
    queue,
    time,   // the latest first
    name,   // as the user's language has them
    size,   // the largest first
    state,  // what went wrong first
};

inline constexpr std::array allFinishedOrders{FinishedOrder::queue, FinishedOrder::time, FinishedOrder::name,
                                              FinishedOrder::size, FinishedOrder::state};

// What the preferences store.
[[nodiscard]] constexpr std::string_view rawValue(FinishedOrder order) {
    constexpr std::array<std::string_view, allFinishedOrders.size()> names{"queue", "time", "name", "size", "state"};
    return names[static_cast<std::size_t>(order)];
}

[[nodiscard]] constexpr std::optional<FinishedOrder> finishedOrder(std::string_view rawValue) {
    for (const FinishedOrder order : allFinishedOrders)
        if (tovri::rawValue(order) == rawValue) return order;
    return std::nullopt;
}

}  // namespace tovri
