#pragma once

#include "platform/Workspace.h"
#include "screens/Notices.h"

namespace tovri {

// The desktop as the screens ask of it: where it has no application for something, the user is told, and what was to be
// opened can be copied.
class NoticingWorkspace final : public Workspace {
public:
    // Both outlive this.
    NoticingWorkspace(Workspace& workspace, Notices& notices) : workspace_(workspace), notices_(notices) {}

    bool openWebAddress(const std::string& url) override {
        if (workspace_.openWebAddress(url)) return true;
        tell("No browser could be found to open " + url, "Copy Address", url);
        return false;
    }

    void revealFile(const std::filesystem::path& file) override { workspace_.revealFile(file); }

    bool openFile(const std::filesystem::path& file) override {
        if (workspace_.openFile(file)) return true;
        tell("No application could be found to open " + file.filename().string(), "Copy Path", file.native());
        return false;
    }

    [[nodiscard]] std::optional<std::string> clipboardText() override { return workspace_.clipboardText(); }

    void setClipboardText(const std::string& text) override { workspace_.setClipboardText(text); }

private:
    void tell(std::string text, std::string action, const std::string& copied) {
        notices_.tell({.kind = Notice::Kind::failure,
                       .text = std::move(text),
                       .action = std::move(action),
                       .perform = [this, copied] { workspace_.setClipboardText(copied); }});
    }

    Workspace& workspace_;
    Notices& notices_;
};

}  // namespace tovri
