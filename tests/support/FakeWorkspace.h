#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "platform/Workspace.h"

namespace tovri::test {

// Keeps what was asked of the desktop.
class FakeWorkspace final : public Workspace {
public:
    bool openWebAddress(const std::string& url) override {
        if (hasApplications) openedAddresses.push_back(url);
        return hasApplications;
    }

    void revealFile(const std::filesystem::path& file) override { revealedFiles.push_back(file); }

    bool openFile(const std::filesystem::path& file) override {
        if (hasApplications) openedFiles.push_back(file);
        return hasApplications;
    }

    [[nodiscard]] std::optional<std::string> clipboardText() override { return clipboard; }

    void setClipboardText(const std::string& text) override { clipboard = text; }

    bool hasApplications = true;
    std::vector<std::string> openedAddresses;
    std::vector<std::filesystem::path> revealedFiles;
    std::vector<std::filesystem::path> openedFiles;
    std::optional<std::string> clipboard;
};

}  // namespace tovri::test
