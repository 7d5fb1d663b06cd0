#include "cli/commands/Question.h"

namespace tovri::cli {
namespace {

using Line = std::optional<std::string>;

Line trimmed(Line line) {
    constexpr const char* blanks = " \t\r\n";
    if (!line) return line;
    const std::size_t begin = line->find_first_not_of(blanks);
    if (begin == std::string::npos) return "";
    return line->substr(begin, line->find_last_not_of(blanks) - begin + 1);
}

}  // namespace

Answer<Line> ask(MainLoop& loop, Terminal& terminal, std::string question, Terminal::Echo echo, std::stop_token stop) {
    return {loop, std::move(stop), [&terminal, question = std::move(question), echo](auto done) {
                return terminal.ask(question, echo, [done = std::move(done)](Line answer) mutable {
                    done(trimmed(std::move(answer)));
                });
            }};
}

}  // namespace tovri::cli
