#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace tovri {

// What the screens ask of the desktop around them.
class Workspace {
public:
    virtual ~Workspace() = default;

    // In the user's browser. False when none could be found.
    virtual bool openWebAddress(const std::string& url) = 0;

    // In the file manager, the file selected. Where there is none nothing happens.
    virtual void revealFile(const std::filesystem::path& file) = 0;

    // With the application that the user has for such files. False when none could be found.
    virtual bool openFile(const std::filesystem::path& file) = 0;

    // The clipboard's plain text; none when it holds something else, or nothing.
    [[nodiscard]] virtual std::optional<std::string> clipboardText() = 0;

    // Replaces all that the clipboard holds.
    virtual void setClipboardText(const std::string& text) = 0;
};

}  // namespace tovri
