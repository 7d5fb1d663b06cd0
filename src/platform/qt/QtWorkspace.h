#pragma once

#include "platform/Workspace.h"

namespace tovri {

// The desktop as Qt reaches it. Files are revealed by whichever file manager answers on the session bus
// (org.freedesktop.FileManager1, of the File Manager D-Bus Interface); where none does, their folder is opened.
class QtWorkspace final : public Workspace {
public:
    bool openWebAddress(const std::string& url) override;
    void revealFile(const std::filesystem::path& file) override;
    bool openFile(const std::filesystem::path& file) override;
    [[nodiscard]] std::optional<std::string> clipboardText() override;
    void setClipboardText(const std::string& text) override;
};

}  // namespace tovri
