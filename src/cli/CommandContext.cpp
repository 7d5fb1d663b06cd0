#include "cli/CommandContext.h"

#include <algorithm>

#include <fmt/format.h>

#include "cli/display/DisplayText.h"
#include "cli/display/JSON.h"
#include "cli/display/TimeText.h"

namespace tovri::cli {

namespace {

// What every object of a command begins with that is not about an item.
JSON& begin(JSON& json, std::string_view event, const CommandContext& context) {
    return json.beginObject().field("event", event).field("command", definitionOf(context.invocation.command).name);
}

void print(JSON& json, const std::optional<UUID>& rule, const CommandContext& context) {
    if (rule) json.field("rule", rule->text());
    context.terminal.print(json.field("time", timeText(context.platform.clock.now())).endObject().line());
}

}  // namespace

std::optional<std::size_t> CommandContext::outputWidth() const {
    constexpr std::size_t least = 20;  // below that nothing can be read whatever is left out
    if (!terminal.showsOutput()) return std::nullopt;
    return std::max(terminal.size().columns, least);
}

void CommandContext::complain(std::string_view text) const {
    terminal.message(fmt::format("{} {}: {}", programName, definitionOf(invocation.command).name, printable(text)));
}

void CommandContext::complain(const Error& error) const {
    complain(withAdvice(error));
}

ExitCode CommandContext::fail(const Error& error) const {
    return fail(withAdvice(error), exitCodeOf(error));
}

ExitCode CommandContext::fail(std::string_view text, ExitCode code, const std::optional<UUID>& rule) const {
    complain(text);
    if (!invocation.has("--json")) return code;
    JSON json;
    begin(json, "error", *this).field("error", text).field("status", static_cast<std::int64_t>(code));
    print(json, rule, *this);
    return code;
}

void CommandContext::tellFailure(std::string_view text, const std::optional<UUID>& rule) const {
    if (!invocation.has("--json")) return;
    JSON json;
    begin(json, "error", *this).field("error", text);
    print(json, rule, *this);
}

void CommandContext::tellDone(std::string_view text, const std::optional<UUID>& rule) const {
    if (!invocation.has("--json")) return terminal.print(text);
    JSON json;
    begin(json, "done", *this).field("message", text);
    print(json, rule, *this);
}

ExitCode exitCodeOf(const Error& error) {
    return error.code == ErrorCase::notAuthenticated ? ExitCode::notSignedIn : ExitCode::failure;
}

std::string withAdvice(const Error& error) {
    if (error.code == ErrorCase::notAuthenticated)
        return "Not signed in, or put.io does not accept the access token. Sign in with: tovri-cli login";
    if (error.code == ErrorCase::noClientID)
        return "No client ID is configured. Give yours with: tovri-cli login --client-id ID";
    if (error.code == ErrorCase::decoding) return "put.io's answer cannot be understood: " + error.description;
    if (error.code == ErrorCase::turnedOff)
        return error.description + " Turn it on with: tovri-cli config readLongFolders true";
    return error.description;
}

}  // namespace tovri::cli
