#include "cli/commands/FeedCommands.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>

#include "base/Trimmed.h"
#include "cli/commands/Confirmation.h"
#include "cli/display/DisplayText.h"
#include "cli/display/FeedListing.h"
#include "screens/feeds/RSSFeedRow.h"

namespace tovri::cli {
namespace {

std::string named(const RSSFeed& feed) {
    return fmt::format("{} (ID {})", printable(feedTitle(feed)), feed.id.text());
}

// A flag that takes yes or no, or what counts without it.
bool isOn(const Invocation& invocation, std::string_view flag, bool otherwise) {
    const std::optional<std::string> value = invocation.value(flag);
    return value ? *value == "yes" : otherwise;
}

// A feed that does not say skips what is there already and keeps its files, as a new one does.
constexpr bool skipsExisting = true;
constexpr bool deletesOld = false;

NewRSSFeed newFeed(const Invocation& invocation) {
    NewRSSFeed feed;
    feed.rssSourceURL = trimmed(invocation.operands.front());
    feed.title = invocation.value("--title").value_or(feed.rssSourceURL);
    feed.keyword = invocation.value("--keyword").value_or("");
    feed.dontProcessWholeFeed = isOn(invocation, "--skip-existing", skipsExisting);
    feed.deleteOldFiles = isOn(invocation, "--delete-old", deletesOld);
    return feed;
}

// What the user did not name stays as the feed has it.
RSSFeedUpdate update(const RSSFeed& feed, const Invocation& invocation) {
    RSSFeedUpdate changed;
    changed.id = feed.id;
    changed.title = invocation.value("--title");
    changed.keyword = invocation.value("--keyword").value_or(feed.keyword.value_or(""));
    changed.dontProcessWholeFeed =
        isOn(invocation, "--skip-existing", feed.dontProcessWholeFeed.value_or(skipsExisting));
    changed.deleteOldFiles = isOn(invocation, "--delete-old", feed.deleteOldFiles.value_or(deletesOld));
    return changed;
}

std::string removalQuestion(const RSSFeed& feed) {
    return fmt::format(
        "Delete \xE2\x80\x9C{}\xE2\x80\x9D?\nThis permanently removes it from your put.io account and can't be undone.",
        printable(feedTitle(feed)));
}

bool namesChange(const Invocation& invocation) {
    return std::ranges::any_of(std::array{"--title", "--keyword", "--skip-existing", "--delete-old"},
                               [&](const char* flag) { return invocation.has(flag); });
}

// What is said when the step is done.
std::string_view doneText(CommandName command) {
    if (command == CommandName::feedsEdit) return "Saved";
    if (command == CommandName::feedsPause) return "Paused";
    return command == CommandName::feedsResume ? "Resumed" : "Deleted";
}

}  // namespace

Task<ExitCode> FeedListCommand::run(std::stop_token stop) {
    Result<std::vector<RSSFeed>> feeds = co_await context_.api.listFeeds(stop);
    if (!feeds) co_return context_.fail(feeds.error());
    if (context_.invocation.has("--json"))
        context_.terminal.print(feedsJSON(*feeds));
    else
        for (const std::string& line : feedLines(*feeds, context_.outputWidth())) context_.terminal.print(line);
    co_return ExitCode::success;
}

Task<ExitCode> FeedAddCommand::run(std::stop_token stop) {
    NewRSSFeed feed = newFeed(context_.invocation);
    if (feed.rssSourceURL.empty()) co_return context_.fail("the URL is empty.", ExitCode::wrongArguments);
    Result<RSSFeed> added = co_await add(std::move(feed), stop);
    if (!added) co_return context_.fail(added.error());
    context_.tellDone("Added: " + named(*added));
    co_return ExitCode::success;
}

Task<Result<RSSFeed>> FeedAddCommand::add(NewRSSFeed feed, std::stop_token stop) {
    Result<PutIOFile> folder = co_await tree_.findFolder(context_.invocation.value("--to").value_or("/"), stop);
    if (!folder) co_return failure(folder);
    feed.parentDirID = folderOf(folder->id);
    Result<RSSFeed> added = co_await context_.api.createFeed(std::move(feed), stop);
    co_return added;
}

Task<ExitCode> FeedStepCommand::run(std::stop_token stop) {
    if (context_.invocation.command == CommandName::feedsEdit && !namesChange(context_.invocation))
        co_return context_.fail("nothing is named that should change; see tovri-cli feeds edit --help",
                                ExitCode::wrongArguments);
    const bool isRemoval = context_.invocation.command == CommandName::feedsRemove;
    if (const auto refused = isRemoval ? refusalToAsk(context_) : std::nullopt) co_return *refused;
    Result<RSSFeed> feed = co_await find(stop);
    if (!feed) co_return context_.fail(feed.error());
    if (isRemoval) {
        std::optional<ExitCode> refused = co_await refusalOfUser(&context_, removalQuestion(*feed), stop);
        if (refused) co_return *refused;
    }
    Result<void> performed = co_await perform(*feed, stop);
    if (!performed) co_return context_.fail(performed.error());
    if (const auto title = context_.invocation.value("--title")) feed->title = title;
    context_.tellDone(fmt::format("{}: {}", doneText(context_.invocation.command), named(*feed)));
    co_return ExitCode::success;
}

Task<Result<RSSFeed>> FeedStepCommand::find(std::stop_token stop) {
    const std::string& text = context_.invocation.operands.front();
    Result<std::vector<RSSFeed>> feeds = co_await context_.api.listFeeds(stop);
    if (!feeds) co_return failure(feeds);
    const auto found = std::ranges::find(*feeds, FeedID::parse(text), &RSSFeed::id);
    if (found != feeds->end()) co_return std::move(*found);
    co_return failure(
        Error(ErrorCase::file,
              fmt::format("There is no feed with the ID {}. tovri-cli feeds list shows what there is.", text)));
}

Task<Result<void>> FeedStepCommand::perform(RSSFeed feed, std::stop_token stop) {
    switch (context_.invocation.command) {
        case CommandName::feedsEdit:
            return context_.api.updateFeed(update(feed, context_.invocation), std::move(stop));
        case CommandName::feedsPause:
            return context_.api.pauseFeed(feed.id, std::move(stop));
        case CommandName::feedsResume:
            return context_.api.resumeFeed(feed.id, std::move(stop));
        default:
            return context_.api.deleteFeed(feed.id, std::move(stop));
    }
}

}  // namespace tovri::cli
