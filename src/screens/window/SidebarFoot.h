#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

#include "base/Signal.h"
#include "base/TaskScope.h"
#include "downloads/DownloadManager.h"
#include "platform/FileManager.h"
#include "platform/MainLoop.h"
#include "platform/VolumeQueues.h"
#include "service/records/AccountInfo.h"

namespace tovri {

// What stands below the sections: whose account it is, the room on put.io, and the room on the disk that downloads go
// to. Asks while it is on view: when it comes there, after changes of the queue, but at most once a minute, and
// otherwise as often as the account's figures grow old.
class SidebarFoot {
public:
    struct Line {
        std::string_view symbol;
        std::string text;
        std::string help;  // the whole of it

        bool operator==(const Line&) const = default;
    };

    // What it works with; outlives it.
    struct Surroundings {
        AccountInfo& account;
        DownloadManager& downloads;
        Preferences& preferences;
        MainLoop& loop;
        FileManager& files;
        VolumeQueues& volumes;
    };

    static constexpr std::chrono::minutes shortestPause{1};

    // After that long a volume counts as one that does not answer.
    static constexpr std::chrono::seconds patience{5};

    explicit SidebarFoot(const Surroundings& around);

    void appear();
    void disappear();

    // Of what is known.
    [[nodiscard]] const std::vector<Line>& lines() const { return lines_; }

    Subscription onChange(std::function<void()> tell) { return changes_.subscribe(std::move(tell)); }

private:
    void lookSoon();
    void look();
    void lookAtDisk();
    Task<> lookAt(std::filesystem::path folder, std::stop_token stop);
    void setRoom(std::optional<ByteCount> room);
    void update();
    [[nodiscard]] std::vector<Line> makeLines() const;

    Surroundings around_;
    bool isOnView_ = false;
    std::filesystem::path folder_;             // the downloads'
    std::optional<ByteCount> room_;            // there
    std::optional<std::stop_source> looking_;  // there, while its volume is being asked
    MainLoop::TimePoint looked_;
    bool looksSoon_ = false;
    std::vector<Line> lines_;
    Signal<> changes_;
    Subscription nextLook_;
    Subscription patience_;
    Subscription followingAccount_;
    Subscription followingQueue_;
    Subscription followingPreferences_;
    TaskScope scope_;
};

}  // namespace tovri
