#include "cli/commands/Question.h"

namespace tovri::cli {
namespace {

using Line = std::optional<std::string>;

}  // namespace

std::string trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n\v\f";
    const std::size_t begin = text.find_first_not_of(blanks);
    if (begin == std::string_view::npos) return {};
    return std::string(text.substr(begin, text.find_last_not_of(blanks) - begin + 1));
}

bool isYes(const Result<Line>& answer) {
    return answer && (*answer == "y" || *answer == "Y" || *answer == "yes");
}

Answer<Line> ask(MainLoop& loop, Terminal& terminal, std::string question, Terminal::Echo echo, std::stop_token stop) {
    return {loop, std::move(stop), [&terminal, question = std::move(question), echo](auto done) {
                return terminal.ask(question, echo, [done = std::move(done)](Line answer) mutable {
                    done(answer ? Line(trimmed(*answer)) : std::nullopt);
                });
            }};
}

}  // namespace tovri::cli
