#include "cli/running/ConflictPrompt.h"

#include <fmt/format.h>

#include "cli/display/DisplayText.h"

namespace tovri::cli {

std::optional<ConflictAnswer> parseConflictAnswer(std::string_view text) {
    std::string word;
    for (const char c : text)
        if (c != ' ' && c != '\t' && c != '\r') word += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;

    struct Word {
        std::string_view text;
        ConflictChoice choice;
    };

    constexpr Word words[] = {{"r", ConflictChoice::replace},  {"replace", ConflictChoice::replace},
                              {"k", ConflictChoice::keepBoth}, {"keepboth", ConflictChoice::keepBoth},
                              {"s", ConflictChoice::skip},     {"skip", ConflictChoice::skip}};
    for (const Word& known : words) {
        if (word == known.text) return ConflictAnswer{known.choice, false};
        if (word == std::string(known.text) + "a" || word == std::string(known.text) + "all")
            return ConflictAnswer{known.choice, true};
    }
    return std::nullopt;
}

void ConflictPrompt::follow(const QueueChange& change) {
    if (isClosed_ || change.kind != QueueChange::Kind::conflict) return;
    const FileConflict* conflict = downloads_.pendingConflict();
    if (conflict && asked_ == conflict->id) return;
    question_.reset();
    asked_.reset();
    if (conflict) askUser("");
}

void ConflictPrompt::close() {
    isClosed_ = true;
    question_.reset();
}

void ConflictPrompt::askUser(std::string_view remark) {
    const FileConflict& conflict = *downloads_.pendingConflict();
    asked_ = conflict.id;
    const std::string text = fmt::format(
        "{}File Already Exists\n\"{}\" already exists at this location.{}\n{}\n"
        "Replace (r), Keep Both (k) or Skip (s)? Add \"a\" for all conflicts: ",
        remark, printable(conflict.download->fileName),
        conflict.isOnlyCopy ? " Its original is no longer on put.io." : "", printable(conflict.existingURL.native()));
    question_ =
        terminal_.ask(text, Terminal::Echo::shown, [this](const std::optional<std::string>& line) { answer(line); });
}

void ConflictPrompt::answer(const std::optional<std::string>& line) {
    if (!line) return noAnswer_();
    const std::optional<ConflictAnswer> parsed = parseConflictAnswer(*line);
    if (!parsed) return askUser("Please answer r, k, s, ra, ka or sa.\n");
    asked_.reset();
    downloads_.resolveConflict(parsed->choice, parsed->appliesToAll);
}

}  // namespace tovri::cli
