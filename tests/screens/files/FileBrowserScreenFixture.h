#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "downloads/PutIODownloadService.h"
#include "screens/files/FileBrowserFixture.h"
#include "screens/files/FileBrowserScreen.h"
#include "support/FakeWorkspace.h"
#include "support/SimulatedTransferSession.h"

namespace tovri::test {

// The screen over a folder of two folders and two files, above a queue that stands still.
class FileBrowserScreenTest : public FileBrowserFixture {
public:
    FileBrowserScreenTest() {
        downloads.configure(service, preferences);
        downloads.pauseAll();  // what is queued stays to be looked at
        folders[0] = {folder(1, "Films"), folder(2, "Music"), file(3, "a.mkv", 1'200'000), file(4, "b.txt", 10)};
        folders[1] = {file(11, "one"), folder(12, "Extras")};
        folders[12] = {file(13, "two")};
    }

    void show() {
        screen.appear();
        settle();
    }

    // "upload.txt^ Films/ a.mkv"
    [[nodiscard]] std::string rows() const {
        std::string text;
        for (std::size_t i = 0; i < screen.rowCount(); ++i) {
            const FileRow row = screen.row(i);
            text += (i == 0 ? "" : " ") + row.name + (row.kind == FileRow::Kind::folder ? "/" : "");
            if (row.kind == FileRow::Kind::upload) text += "^";
        }
        return text;
    }

    // "Open | Download Folder | - | ..."
    [[nodiscard]] std::string menu(const FileIDs& files) const {
        std::string text;
        for (const auto& item : screen.menu(files)) {
            if (!text.empty()) text += " | ";
            text += item.isSeparator() ? "-" : item.title;
        }
        return text;
    }

    // "a.mkv -> /home/user/Downloads, then deleted", from the top of the queue.
    [[nodiscard]] std::vector<std::string> queue() const {
        std::vector<std::string> items;
        for (const ConstDownloadPointer& item : downloads.downloads().items()) {
            std::string text = item->fileName + " -> " + item->destinationFolder->native();
            if (item->deleteAfterDownload) text += ", then deleted";
            if (item->folderDeleteID) text += ", then folder " + item->folderDeleteID->text();
            items.push_back(text);
        }
        return items;
    }

    [[nodiscard]] std::string failureText() const {
        return screen.dialogs().failure() ? screen.dialogs().failure()->message : "";
    }

    [[nodiscard]] const HTTPRequest& lastRequestTo(std::string_view end) const {
        const auto isThere = [&](const HTTPRequest& request) { return request.url.ends_with(end); };
        return *std::ranges::find_if(http.requests.rbegin(), http.requests.rend(), isThere);
    }

    MemoryUserDefaults defaults;
    Preferences preferences{defaults, folderAccess, "/home/user"};
    SimulatedStorage storage;
    SimulatedTransferSession transfers{loop, storage};
    PutIODownloadService service{api};
    DownloadManager downloads{downloadPorts(platform, transfers)};
    FakeWorkspace workspace;
    Notices notices{loop};
    bool showsDownloads = false;
    FileBrowserScreen screen{{state, api, downloads, preferences, workspace, collation, random, notices,
                              [this] { showsDownloads = true; }, platform.clock}};
};

}  // namespace tovri::test
