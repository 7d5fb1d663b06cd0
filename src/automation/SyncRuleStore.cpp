#include "automation/SyncRuleStore.h"

#include <chrono>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "automation/SyncRuleCoding.h"

namespace tovri {
namespace {

constexpr auto lane = "rules";

Error unsaved(const Error& error) {
    return {error.code, "The rules cannot be saved. " + error.description};
}

}  // namespace

// What the main thread hands over and the lane writes, one after the other.
class SyncRuleStore::Writer {
public:
    struct Handed {
        std::vector<SyncRule> rules;
        Unsecured unsecured;
    };

    Writer(FileManager& files, std::filesystem::path file) : files_(files), file_(std::move(file)) {}

    void keepOldFile() { mustKeepOldFile_ = true; }

    // Whether a write() has to be arranged: none is waiting to begin.
    [[nodiscard]] bool hand(Handed rules) {
        const std::scoped_lock lock(handing_);
        const bool isFirst = !rules_.has_value();
        rules_ = std::move(rules);
        return isFirst;
    }

    // The rules that were handed over last.
    Result<void> write() {
        Result<void> outcome = writeHanded();
        const std::scoped_lock lock(handing_);
        outcome_ = outcome;
        return outcome;
    }

    // What became of the last writing of all.
    Result<void> outcome() {
        const std::scoped_lock lock(handing_);
        if (rules_) return failure(Error(ErrorCase::file, "Tovri is ending."));
        return outcome_;
    }

private:
    Result<void> writeHanded() {
        std::unique_lock handing(handing_);
        auto handed = std::exchange(rules_, std::nullopt);
        handing.unlock();

        for (SyncRule& rule : handed->rules) leavePending(rule, handed->unsecured);
        if (mustKeepOldFile_)
            if (Result<void> kept = keepOldFileAside(); !kept) return kept;
        mustKeepOldFile_ = false;
        (void)files_.createDirectories(file_.parent_path());
        return files_.writeFileAtomically(
            file_, [&](const FileManager::Sink& sink) { return encodeRules(handed->rules, sink); });
    }

    static void leavePending(SyncRule& rule, const Unsecured& unsecured) {
        for (const auto& [id, file] : unsecured)
            if (id == rule.id && rule.knownFileIDs.erase(file)) rule.pendingFileIDs.insert(file);
    }

    [[nodiscard]] Result<void> keepOldFileAside() {
        for (int number = 1;; ++number) {
            const auto name = "sync-rules.unreadable-" + std::to_string(number) + ".json";
            const Result<void> kept = files_.cloneFile(file_, file_.parent_path() / name);
            if (kept || !files_.exists(file_)) return {};
            if (kept.error().code != ErrorCase::alreadyExists) return kept;
        }
    }

    FileManager& files_;
    std::filesystem::path file_;

    std::mutex handing_;  // held for a moment only: the main thread waits for it
    std::optional<Handed> rules_;
    Result<void> outcome_;

    bool mustKeepOldFile_ = false;  // set before anything is written, then the lane's
};

SyncRuleStore::SyncRuleStore(SyncPorts ports)
    : ports_(std::move(ports)),
      storageURL_(ports_.dataFolder / "sync-rules.json"),
      writer_(std::make_shared<Writer>(ports_.files, storageURL_)),
      tellFailure_(std::make_shared<std::function<void(const Error&)>>()) {}

std::vector<SyncRule> SyncRuleStore::load() {
    if (!ports_.files.exists(storageURL_)) return {};
    Result<ByteBlob> bytes = ports_.files.readFile(storageURL_);
    Result<std::vector<SyncRule>> rules = bytes ? decodeRules(std::move(*bytes)) : failure(bytes);
    if (rules) return std::move(*rules);
    ports_.log.line("[SyncManager] Ignoring unreadable rules at " + storageURL_.native() + ": " +
                    rules.error().description);
    writer_->keepOldFile();
    return {};
}

void SyncRuleStore::save(const std::vector<SyncRule>& rules, const Unsecured& unsecured) {
    if (!writer_->hand({rules, unsecured})) return;
    ports_.volumes.run(lane, [&loop = ports_.loop, writer = writer_, held = std::weak_ptr(tellFailure_)] {
        const Result<void> written = writer->write();
        if (written) return;
        loop.post([held, error = unsaved(written.error())] {
            const auto tell = held.lock();
            if (tell && *tell) (*tell)(error);
        });
    });
}

Result<void> SyncRuleStore::finish() {
    constexpr std::chrono::seconds patience{10};
    if (!ports_.volumes.waitFor(lane, patience))
        return failure(unsaved({ErrorCase::file, "The disk takes too long; check the disk and try again."}));
    const Result<void> outcome = writer_->outcome();
    return outcome ? outcome : failure(unsaved(outcome.error()));
}

}  // namespace tovri
