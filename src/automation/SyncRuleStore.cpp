#include "automation/SyncRuleStore.h"

#include <iterator>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "automation/SyncRuleCoding.h"

namespace tovri {

// What the main thread hands over and a background thread writes. Rules are always taken and written in one piece
// under `writing_`, so a file is never replaced by an older one, whoever writes.
class SyncRuleStore::Writer {
public:
    Writer(FileManager& files, std::filesystem::path file) : files_(files), file_(std::move(file)) {}

    void keepOldFile() { mustKeepOldFile_ = true; }

    void expect(std::filesystem::path arrived) {
        const std::scoped_lock lock(handing_);
        arrived_.push_back(std::move(arrived));
    }

    // Whether a write() has to be arranged: none is waiting to begin.
    [[nodiscard]] bool hand(std::vector<SyncRule> rules) {
        const std::scoped_lock lock(handing_);
        const bool isFirst = !rules_.has_value();
        rules_ = std::move(rules);
        return isFirst;
    }

    // What became of the last writing of all.
    Result<void> write() {
        const std::scoped_lock lock(writing_);
        std::unique_lock handing(handing_);
        const auto rules = std::exchange(rules_, std::nullopt);
        if (!rules) return outcome_;  // written at the end of the program meanwhile
        const auto arrived = std::exchange(arrived_, {});
        handing.unlock();

        for (const std::filesystem::path& path : arrived) (void)files_.makeDurable(path);
        if (mustKeepOldFile_) outcome_ = keepOldFileAside();
        if (mustKeepOldFile_ && !outcome_) return outcome_;
        mustKeepOldFile_ = false;
        (void)files_.createDirectories(file_.parent_path());
        outcome_ =
            files_.writeFileAtomically(file_, [&](const FileManager::Sink& sink) { return encodeRules(*rules, sink); });
        return outcome_;
    }

private:
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
    std::optional<std::vector<SyncRule>> rules_;
    std::vector<std::filesystem::path> arrived_;

    std::mutex writing_;
    bool mustKeepOldFile_ = false;
    Result<void> outcome_;
};

SyncRuleStore::SyncRuleStore(const Platform& platform)
    : platform_(platform),
      storageURL_(platform.folders.applicationData / "sync-rules.json"),
      writer_(std::make_shared<Writer>(platform.files, storageURL_)) {}

std::vector<SyncRule> SyncRuleStore::load() {
    if (!platform_.files.exists(storageURL_)) return {};
    Result<ByteBlob> bytes = platform_.files.readFile(storageURL_);
    Result<std::vector<SyncRule>> rules = bytes ? decodeRules(std::move(*bytes)) : failure(bytes);
    if (rules) return std::move(*rules);
    platform_.log.line("[SyncManager] Ignoring unreadable rules at " + storageURL_.native() + ": " +
                       rules.error().description);
    writer_->keepOldFile();
    return {};
}

void SyncRuleStore::save(const std::vector<SyncRule>& rules) {
    if (!writer_->hand(rules)) return;
    // The work before this one, if it has not ended, has begun: it goes on without its subscription.
    writing_ = platform_.background.run([writer = writer_](const std::stop_token&) { (void)writer->write(); }, [] {});
}

void SyncRuleStore::writeAfter(std::filesystem::path arrived) {
    writer_->expect(std::move(arrived));
}

Result<void> SyncRuleStore::finish() {
    return writer_->write();
}

}  // namespace tovri
