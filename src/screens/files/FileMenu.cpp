#include "screens/files/FileMenu.h"

#include <algorithm>
#include <string>

namespace tovri {
namespace {

using Item = MenuItem<FileMenuAction>;
using Action = FileMenuAction;

Item deletion(std::string title) {
    return {.action = Action::remove, .title = std::move(title), .isDestructive = true};
}

std::vector<Item> menuOfFile() {
    return {{Action::download, "Download"},
            {Action::downloadAndDelete, "Download & Delete from put.io"},
            Item::separator(),
            {Action::copyDownloadLink, "Get Download Link"},
            Item::separator(),
            {Action::openInPutIO, "Open in put.io"},
            Item::separator(),
            deletion("Delete from put.io")};
}

std::vector<Item> menuOfFolder() {
    return {{Action::open, "Open"},
            {Action::downloadFolder, "Download Folder"},
            {Action::downloadFolderAndDelete, "Download Folder & Delete from put.io"},
            Item::separator(),
            {Action::openInPutIO, "Open in put.io"},
            Item::separator(),
            deletion("Delete from put.io")};
}

}  // namespace

std::vector<Item> fileMenu(const std::vector<const PutIOFile*>& targets) {
    if (targets.empty()) return {};
    if (targets.size() == 1) return targets.front()->isFolder() ? menuOfFolder() : menuOfFile();

    std::vector<Item> menu;
    const auto files = std::ranges::count_if(targets, [](const PutIOFile* target) { return !target->isFolder(); });
    if (files > 0) {
        const std::string title = "Download " + std::to_string(files) + " Files";
        menu = {{Action::download, title}, {Action::downloadAndDelete, title + " & Delete"}, Item::separator()};
    }
    menu.push_back(deletion("Delete " + std::to_string(targets.size()) + " Items from put.io"));
    return menu;
}

}  // namespace tovri
