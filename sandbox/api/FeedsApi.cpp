#include "sandbox/api/FeedsApi.h"

#include <algorithm>
#include <utility>

#include "sandbox/api/Answers.h"

namespace tovri::sandbox {
namespace {

void write(JsonWriter& json, const Feed& feed) {
    json.beginObject()
        .field("id", feed.id)
        .field("title", feed.title)
        .field("rss_source_url", feed.source)
        .field("keyword", feed.keyword)
        .field("parent_dir_id", feed.parentID)
        .field("paused", feed.isPaused)
        .field("dont_process_whole_feed", feed.skipsOldItems)
        .field("delete_old_files", feed.deletesOldFiles)
        .field("extract", feed.extracts);
    json.key("last_fetch").value(feed.isPaused ? std::nullopt : std::optional(serviceTime(unixTimeNow()))).endObject();
}

void applyUpdate(Feed& feed, const ApiCall& call) {
    if (valueOf(call.fields, "title")) feed.title = call.text("title");
    if (valueOf(call.fields, "keyword")) feed.keyword = call.text("keyword");
    feed.skipsOldItems = call.isTrue("dont_process_whole_feed");
    feed.deletesOldFiles = call.isTrue("delete_old_files");
}

}  // namespace

std::int64_t FeedsApi::add(Feed feed) {
    const std::scoped_lock lock(mutex_);
    feed.id = ++lastID_;
    feeds_.push_back(std::move(feed));
    return lastID_;
}

std::optional<HttpResponse> FeedsApi::answer(const ApiCall& call) {
    if (call.isGet("/rss/list")) return list();
    if (call.isPost("/rss/create")) return create(call);
    if (call.isPost("/rss/delete")) return remove(call);
    if (call.isPost("/rss/update") || call.isPost("/rss/pause") || call.isPost("/rss/resume")) return change(call);
    return std::nullopt;
}

HttpResponse FeedsApi::list() const {
    const std::scoped_lock lock(mutex_);
    JsonWriter json;
    json.beginObject().key("feeds").beginArray();
    for (const Feed& feed : feeds_) write(json, feed);
    return jsonAnswer(json.endArray().field("status", "OK").endObject());
}

HttpResponse FeedsApi::create(const ApiCall& call) {
    if (call.text("title").empty() || call.text("rss_source_url").empty()) {
        return errorAnswer(400, "BadRequest", "title or rss_source_url is missing.");
    }
    Feed feed{.title = std::string(call.text("title")), .source = std::string(call.text("rss_source_url"))};
    feed.parentID = call.number("parent_dir_id").value_or(rootID);
    applyUpdate(feed, call);
    feed.id = add(feed);
    JsonWriter json;
    write(json.beginObject().key("feed"), feed);
    return jsonAnswer(json.field("status", "OK").endObject());
}

HttpResponse FeedsApi::change(const ApiCall& call) {
    const std::scoped_lock lock(mutex_);
    const auto feed = std::ranges::find(feeds_, call.number("id").value_or(0), &Feed::id);
    if (feed == feeds_.end()) return notFoundAnswer();
    if (call.path == "/rss/update") {
        applyUpdate(*feed, call);
    } else {
        feed->isPaused = call.path == "/rss/pause";
    }
    return okAnswer();
}

HttpResponse FeedsApi::remove(const ApiCall& call) {
    const std::scoped_lock lock(mutex_);
    const auto removed = std::erase_if(feeds_, [&](const Feed& feed) { return feed.id == call.number("id"); });
    return removed == 0 ? notFoundAnswer() : okAnswer();
}

}  // namespace tovri::sandbox
