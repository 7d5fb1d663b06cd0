#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "automation/SyncManager.h"
#include "automation/SyncRuleCoding.h"
#include "base/TaskScope.h"
#include "downloads/World.h"
#include "support/FakeSleepClock.h"

namespace tovri::test {

// The world of the downloads with the automation on top, both restored by each process.
class SyncWorld {
public:
    using Path = std::filesystem::path;

    SyncWorld() {
        world.http.handler = [this, usual = world.http.handler](const HTTPRequest& request) -> Result<HTTPResponse> {
            const auto at = request.url.find("parent_id=");
            if (at != std::string::npos) ++listings[FolderID(std::stoll(request.url.substr(at + 10)))];
            if (refusal) return HTTPResponse{*refusal, ""};
            return usual(request);
        };
        begin();
    }

    ~SyncWorld() { end(); }

    void start() {
        world.start();
        begin();
    }

    void kill() {
        end();
        world.kill();
    }

    void losePower() {
        end();
        world.losePower();
    }

    void restart() {
        kill();
        start();
    }

    // A rule over the folder, as its editor makes it.
    [[nodiscard]] SyncRule newRule(FolderID folder, const std::string& name) {
        SyncRule rule;
        rule.id = world.random.makeUUID();
        rule.putioFolderID = folder;
        rule.putioFolderName = name;
        rule.localFolderPath = local.native();
        return rule;
    }

    // Adds it and waits for its inventory.
    UUID watch(FolderID folder, const std::string& name = "Shows") {
        const SyncRule rule = newRule(folder, name);
        sync->addRule(rule);
        settle();
        return rule.id;
    }

    [[nodiscard]] const SyncRule& rule(const UUID& id) { return *sync->find(id); }

    // Runs until nothing is left to happen by itself; not while polling.
    void settle() { world.settle(); }

    void pass(SyncUrgency urgency = SyncUrgency::forced) {
        sync->startSyncAll(urgency);
        settle();
    }

    [[nodiscard]] std::vector<SyncRule> savedRules() {
        const auto text = world.files.content(sync->storageURL());
        return text ? decodeRules(*text).value_or(std::vector<SyncRule>()) : std::vector<SyncRule>();
    }

    // The automation's lines since the last call, without their mark.
    [[nodiscard]] std::vector<std::string> lines() {
        constexpr std::string_view mark = "[SyncManager] ";
        std::vector<std::string> found;
        for (const std::string& line : std::exchange(world.log.lines, {}))
            if (line.starts_with(mark)) found.push_back(line.substr(mark.size()));
        return found;
    }

    // "name" and what is below, of the rule's local folder.
    [[nodiscard]] std::vector<std::string> arrived() {
        std::vector<std::string> names;
        for (const auto& [path, content] : world.files.files(local))
            names.push_back(path.lexically_relative(local).native());
        return names;
    }

    static inline const Path local = World::downloads / "Shows";

    World world;
    FakeSleepClock sleepClock;
    std::optional<int> refusal;        // the status of every answer of the service
    std::map<FolderID, int> listings;  // by folder: how often it was asked for
    std::unique_ptr<SyncManager> sync;
    std::function<void(const SyncChange&)> told;  // of every change

private:
    void begin() {
        SyncPorts ports = syncPorts(world.platform());
        ports.sleep = &sleepClock;
        sync = std::make_unique<SyncManager>(std::move(ports));
        sync->configure(world.api(), world.manager());
        observing_ = sync->onChange([this](const SyncChange& change) {
            if (told) told(change);
        });
    }

    void end() {
        observing_.reset();
        sync.reset();
    }

    Subscription observing_;
};

}  // namespace tovri::test
