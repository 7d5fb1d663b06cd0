#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <utility>

#include "base/Signal.h"
#include "base/TaskScope.h"
#include "service/PutIOAPI.h"

namespace tovri {

// The sheet that makes a feed or edits one. Owned by the feeds screen; its fields are new each time it opens. The
// folder of a feed is not shown: a new one gets the root folder, an edited one keeps its own.
class RSSFeedEditorSheet {
public:
    struct Fields {
        std::string title = {};
        std::string rssURL = {};  // of an edited feed the service does not take another
        std::string keyword = {};
        FolderID parentDirID = {};
        bool dontProcessWholeFeed = true;
        bool deleteOldFiles = false;

        bool operator==(const Fields&) const = default;
    };

    static constexpr const char* feedSection = "Feed";
    static constexpr const char* titleLabel = "Title";
    static constexpr const char* urlLabel = "RSS Feed URL";
    static constexpr const char* filterSection = "Filter";
    static constexpr const char* keywordLabel = "Keyword filter (optional)";
    static constexpr const char* keywordNote =
        "Only items matching this keyword will be downloaded. Leave empty to download all.";
    static constexpr const char* optionsSection = "Options";
    static constexpr const char* skipExistingLabel = "Skip existing items on first fetch";
    static constexpr const char* deleteOldLabel = "Delete old files when new ones arrive";
    static constexpr const char* cancelLabel = "Cancel";
    static constexpr const char* errorSymbol = "exclamationmark.triangle";

    // `api` outlives the sheet. `onSave` is called after each successful save, before the sheet closes.
    RSSFeedEditorSheet(PutIOAPI& api, std::function<void()> onSave) : api_(api), onSave_(std::move(onSave)) {}

    [[nodiscard]] bool isOpen() const { return isOpen_; }

    [[nodiscard]] const std::optional<RSSFeed>& existingFeed() const { return existingFeed_; }

    [[nodiscard]] const char* title() const { return existingFeed_ ? "Edit RSS Feed" : "New RSS Feed"; }

    [[nodiscard]] const char* confirmLabel() const { return existingFeed_ ? "Save" : "Add Feed"; }

    [[nodiscard]] const Fields& fields() const { return fields_; }

    [[nodiscard]] bool canConfirm() const;

    [[nodiscard]] bool isSaving() const { return isSaving_; }

    // Why the last attempt to save failed.
    [[nodiscard]] const std::optional<std::string>& error() const { return error_; }

    // Without a feed for a new one.
    void open(std::optional<RSSFeed> feed);

    // The Cancel button. An attempt under way is called off.
    void close();

    void setFields(Fields fields);

    void confirm();

    // Told after any of the above differs.
    Subscription onChange(std::function<void()> tell) { return changes_.subscribe(std::move(tell)); }

private:
    Task<> save(std::stop_token stop);
    Task<Result<void>> create(std::stop_token stop);
    Task<Result<void>> update(std::stop_token stop);

    PutIOAPI& api_;
    std::function<void()> onSave_;
    bool isOpen_ = false;
    std::optional<RSSFeed> existingFeed_;
    Fields fields_;
    bool isSaving_ = false;
    std::optional<std::string> error_;
    std::stop_source opening_;  // stopped when what it opened is closed
    Signal<> changes_;
    TaskScope scope_;
};

}  // namespace tovri
