#include "screens/feeds/RSSFeedEditorSheet.h"

#include "base/Trimmed.h"

namespace tovri {
namespace {

RSSFeedEditorSheet::Fields fieldsOf(const RSSFeed& feed) {
    return {feed.title.value_or(""),
            feed.rssSourceURL.value_or(""),
            feed.keyword.value_or(""),
            feed.parentDirID.value_or(rootFolderID),
            feed.dontProcessWholeFeed.value_or(true),
            feed.deleteOldFiles.value_or(false)};
}

}  // namespace

bool RSSFeedEditorSheet::canConfirm() const {
    return !isSaving_ && !trimmed(fields_.rssURL).empty();
}

void RSSFeedEditorSheet::open(std::optional<RSSFeed> feed) {
    if (isOpen_) return;
    isOpen_ = true;
    fields_ = feed ? fieldsOf(*feed) : Fields();
    existingFeed_ = std::move(feed);
    isSaving_ = false;
    error_.reset();
    opening_ = std::stop_source();
    changes_.tell();
}

void RSSFeedEditorSheet::close() {
    if (!isOpen_) return;
    isOpen_ = false;
    isSaving_ = false;
    opening_.request_stop();
    changes_.tell();
}

void RSSFeedEditorSheet::setFields(Fields fields) {
    if (fields_ == fields) return;
    fields_ = std::move(fields);
    changes_.tell();
}

void RSSFeedEditorSheet::confirm() {
    if (!isOpen_ || !canConfirm()) return;
    isSaving_ = true;
    error_.reset();
    changes_.tell();
    scope_.start(save(opening_.get_token()));
}

Task<> RSSFeedEditorSheet::save(std::stop_token stop) {
    Task<Result<void>> request = existingFeed_ ? update(stop) : create(stop);
    const Result<void> saved = co_await std::move(request);
    if (stop.stop_requested()) co_return;
    if (saved) {
        onSave_();
        close();
        co_return;
    }
    isSaving_ = false;
    error_ = saved.error().description;
    changes_.tell();
}

Task<Result<void>> RSSFeedEditorSheet::create(std::stop_token stop) {
    NewRSSFeed feed{fields_.title,   std::string(trimmed(fields_.rssURL)), fields_.parentDirID,
                    fields_.keyword, fields_.dontProcessWholeFeed,         fields_.deleteOldFiles};
    Result<RSSFeed> created = co_await api_.createFeed(std::move(feed), std::move(stop));
    if (!created) co_return failure(created);
    co_return Result<void>();
}

Task<Result<void>> RSSFeedEditorSheet::update(std::stop_token stop) {
    RSSFeedUpdate change{existingFeed_->id, fields_.title, fields_.keyword, fields_.dontProcessWholeFeed,
                         fields_.deleteOldFiles};
    // A feed that has no title is not given an empty one.
    if (fields_.title.empty() && !existingFeed_->title) change.title.reset();
    return api_.updateFeed(std::move(change), std::move(stop));
}

}  // namespace tovri
