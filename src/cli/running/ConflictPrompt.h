#pragma once

#include <functional>
#include <optional>
#include <string_view>

#include "cli/Terminal.h"
#include "downloads/DownloadManager.h"

namespace tovri::cli {

// The user's answer to the conflict question.
struct ConflictAnswer {
    ConflictChoice choice;
    bool appliesToAll;

    bool operator==(const ConflictAnswer&) const = default;
};

// "r", "k" or "s", or the button's text; "a" or "all" behind it applies it to all conflicts. None for anything else.
[[nodiscard]] std::optional<ConflictAnswer> parseConflictAnswer(std::string_view text);

// Asks on the terminal what is to become of a file whose name is taken, one question at a time.
class ConflictPrompt {
public:
    // `downloads` and `terminal` outlive this. `noAnswer` runs when the input has ended.
    ConflictPrompt(DownloadManager& downloads, Terminal& terminal, std::function<void()> noAnswer)
        : downloads_(downloads), terminal_(terminal), noAnswer_(std::move(noAnswer)) {}

    void follow(const QueueChange& change);

    // Takes the question back, and asks no more.
    void close();

private:
    void askUser(std::string_view remark);
    void answer(const std::optional<std::string>& line);

    DownloadManager& downloads_;
    Terminal& terminal_;
    std::function<void()> noAnswer_;
    bool isClosed_ = false;
    std::optional<UUID> asked_;  // the conflict that the question is about
    Subscription question_;
};

}  // namespace tovri::cli
