#include "cli/commands/files/PutCommand.h"

#include <chrono>

#include <fmt/format.h>

#include "base/ByteCountFormat.h"
#include "cli/display/DisplayText.h"
#include "cli/display/JSON.h"
#include "cli/display/ProgressLayout.h"
#include "cli/display/TimeText.h"
#include "downloads/list/Download.h"

namespace tovri::cli {

PutCommand::PutCommand(CommandContext& context)
    : context_(context),
      tree_(context.api),
      uploads_(context.platform.loop, context.platform.random),
      following_(uploads_.onChange([this](Uploads::Field field) {
          if (field == Uploads::Field::sent) tellProgress();
      })) {
    uploads_.configure(context.api);
}

Task<ExitCode> PutCommand::run(std::stop_token stop) {
    Result<PutIOFile> folder = co_await tree_.findFolder(context_.invocation.value("--to").value_or("/"), stop);
    if (!folder) co_return context_.fail(folder.error());
    ExitCode code = ExitCode::success;
    for (const std::string& file : context_.invocation.operands) {
        Result<void> done = co_await upload(file, folderOf(folder->id), stop);
        if (done) continue;
        tellFailed(file, done.error());
        if (code != ExitCode::notSignedIn) code = exitCodeOf(done.error());
    }
    co_return code;
}

Task<Result<void>> PutCommand::upload(std::string file, FolderID folderID, std::stop_token stop) {
    const std::filesystem::path path = (context_.currentFolder / file).lexically_normal();
    if (context_.platform.files.exists(path) && !context_.platform.files.fileSize(path))
        co_return failure(Error(ErrorCase::file, "This is a folder or no ordinary file; only files can be uploaded."));
    began_ = context_.platform.loop.now();
    lastTold_ = began_;
    Result<PutIOFile> uploaded = co_await uploads_.upload(path, folderID, stop);
    if (context_.terminal.showsOutput()) context_.terminal.showLive({});
    if (!uploaded) co_return failure(uploaded);
    tellArrived(file, *uploaded);
    co_return Result<void>();
}

void PutCommand::tellArrived(const std::string& file, const PutIOFile& uploaded) {
    if (!context_.invocation.has("--json"))
        return context_.terminal.print(
            fmt::format("Uploaded: {} ({}, ID {})", printable(file), uploaded.displaySize(), uploaded.id.text()));
    JSON json;
    json.beginObject().field("event", "uploaded").field("file", file).field("fileID", uploaded.id);
    json.field("name", uploaded.name).field("size", uploaded.size.value_or(0));
    json.field("time", timeText(context_.platform.clock.now())).endObject();
    context_.terminal.print(json.line());
}

void PutCommand::tellFailed(const std::string& file, const Error& error) {
    context_.complain(fmt::format("{}: {}", file, withAdvice(error)));
    if (!context_.invocation.has("--json")) return;
    JSON json;
    json.beginObject().field("event", "failed").field("file", file).field("error", error.description);
    json.field("time", timeText(context_.platform.clock.now()));
    context_.terminal.print(json.endObject().line());
}

// Ten times a second on a terminal, once a second as JSON.
void PutCommand::tellProgress() {
    if (uploads_.pending().empty()) return;
    const PendingUpload& upload = uploads_.pending().front();
    const auto [sent, total] = uploads_.sent(upload.id);
    const bool isJSON = context_.invocation.has("--json");
    const MainLoop::TimePoint now = context_.platform.loop.now();
    if (isJSON && now - lastTold_ < std::chrono::milliseconds(1000)) return;
    lastTold_ = now;
    const BytesPerSecond speed = rateOf(sent, now - began_);
    if (isJSON) {
        if (context_.terminal.isBehind()) return;
        JSON json;
        json.beginObject().field("event", "progress").field("name", upload.name).field("bytes", sent);
        return context_.terminal.print(json.field("size", total).field("speed", speed.count).endObject().line());
    }
    if (!context_.terminal.showsOutput() || total <= 0) return;
    ProgressRow row{printable(upload.name), static_cast<double>(sent) / static_cast<double>(total), {}, {}, {}};
    if (speed > BytesPerSecond()) {
        row.speed = formatRate(speed);
        row.remaining = durationText(timeFor(total - sent, speed).count()) + " left";
    }
    const Terminal::Size size = context_.terminal.size();
    std::vector<std::string> lines =
        layOut({{row}, {}}, {size.columns, size.rows, context_.terminal.hasColor(), context_.terminal.hasUnicode()});
    lines.resize(1);  // a single upload has no total
    context_.terminal.showLive(std::move(lines));
}

}  // namespace tovri::cli
