#pragma once

#include <memory>
#include <string>

#include "cli/Terminal.h"
#include "cli/running/RunTally.h"
#include "platform/MainLoop.h"
#include "platform/WallClock.h"

namespace tovri::cli {

// Shows what a run does while it does it. Failures are told by the run itself, on standard error.
class RunReporter {
public:
    RunReporter() = default;
    RunReporter(const RunReporter&) = delete;
    RunReporter& operator=(const RunReporter&) = delete;
    virtual ~RunReporter() = default;

    virtual void follow(const QueueChange& change) = 0;

    // Nothing is reported after this.
    virtual void end() = 0;
};

// What a reporter looks at and writes to; all of it outlives the reporter.
struct RunView {
    MainLoop& loop;
    const WallClock& clock;
    Terminal& terminal;
    const DownloadManager& downloads;
    const RunTally& tally;
};

// Lines of JSON, a live display on a terminal, or one plain line per event.
enum class ReportForm { json, live, lines };
[[nodiscard]] std::unique_ptr<RunReporter> makeReporter(ReportForm form, const RunView& view);

// "Arrived: /home/ann/Films/a.mkv (1.2 MB)"; empty for a change that is no event.
[[nodiscard]] std::string eventLine(const QueueChange& change, Timestamp now);

// One JSON object on one line; empty for a change that is no event.
[[nodiscard]] std::string eventJSON(const QueueChange& change, Timestamp now);
[[nodiscard]] std::string progressJSON(const Download& item, Timestamp now);

// "3 arrived, 1 skipped, 1 failed"; empty when nothing was finished.
[[nodiscard]] std::string summaryLine(const RunTally& tally);
[[nodiscard]] std::string summaryJSON(const RunTally& tally, Timestamp now);

// Where the item's file goes or stands, as the user can read it.
[[nodiscard]] std::string pathText(const Download& item);

}  // namespace tovri::cli
