#include "cli/commands/Question.h"

#include "base/Trimmed.h"

namespace tovri::cli {
namespace {

using Line = std::optional<std::string>;

}  // namespace

bool isYes(const Result<Line>& answer) {
    return answer && (*answer == "y" || *answer == "Y" || *answer == "yes");
}

Answer<Line> ask(MainLoop& loop, Terminal& terminal, std::string question, Terminal::Echo echo, std::stop_token stop) {
    return {loop, std::move(stop), [&terminal, question = std::move(question), echo](auto done) {
                return terminal.ask(question, echo, [done = std::move(done)](Line answer) mutable {
                    done(answer ? Line(std::string(trimmed(*answer))) : std::nullopt);
                });
            }};
}

}  // namespace tovri::cli
