#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "settings/DesktopPreferences.h"

namespace tovri {

// Asked when the window is closed on a desktop that has no place for an icon of programs in the background. The answer
// is remembered; without one the window stays open.
struct ClosingQuestion {
    static constexpr const char* title = "Keep Tovri running?";
    static constexpr const char* text =
        "Without a window, downloads and automation go on in the background. Start Tovri again to bring the window "
        "back. Your answer is remembered.";
    static constexpr const char* quitLabel = "Quit";
    static constexpr const char* runOnLabel = "Keep Running";  // emphasised
};

// Asked before an end that takes uploads with it.
struct QuittingQuestion {
    static constexpr const char* title = "Quit while files are being uploaded?";
    static constexpr const char* quitLabel = "Quit Anyway";

    // `pending` files have not arrived.
    [[nodiscard]] static std::string text(std::size_t pending) {
        return (pending == 1 ? "1 file has" : std::to_string(pending) + " files have") +
               " not arrived on put.io yet. Uploads are not gone on with after the next start.";
    }
};

enum class ClosingStep : std::uint8_t { hide, ask, quit };

// What comes of closing the window. An icon in the background always leads back to it.
[[nodiscard]] constexpr ClosingStep closingStep(bool hasTray, std::optional<ClosedWindow> remembered) {
    if (hasTray || remembered == ClosedWindow::runsOn) return ClosingStep::hide;
    return remembered == ClosedWindow::quits ? ClosingStep::quit : ClosingStep::ask;
}

}  // namespace tovri
