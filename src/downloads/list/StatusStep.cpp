#include "downloads/list/StatusStep.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <initializer_list>

namespace tovri {
namespace {

using enum DownloadStatus;

// A set of statuses.
class Statuses {
public:
    consteval Statuses(std::initializer_list<DownloadStatus> statuses) {
        for (const DownloadStatus status : statuses) bits_ |= bit(status);
    }

    [[nodiscard]] constexpr bool contains(DownloadStatus status) const { return (bits_ & bit(status)) != 0; }

private:
    static constexpr std::uint32_t bit(DownloadStatus status) { return 1U << static_cast<unsigned>(status); }

    std::uint32_t bits_ = 0;
};

struct Row {
    StatusStep step;
    std::string_view name;
    Statuses from;
    DownloadStatus to;
};

constexpr Statuses any = {queued, downloading, awaitingConflict, paused,   completed,
                          failed, cancelled,   skipped,          deleting, remoteDeleteFailed};

// A file that was placed when the previous process died is found while its item waits again: hence `complete` from
// queued and paused. A question that was open then is asked anew. What was removed, not cancelled, is taken back with
// the status that it had.
constexpr std::array rows = {
    Row{StatusStep::start, "start", {queued}, downloading},
    Row{StatusStep::fail, "fail", {queued, downloading, awaitingConflict}, failed},
    Row{StatusStep::startOver, "startOver", {downloading}, queued},
    Row{StatusStep::pauseWaiting, "pauseWaiting", {queued}, paused},
    Row{StatusStep::pause, "pause", {downloading}, paused},
    Row{StatusStep::yieldSlot, "yieldSlot", {downloading}, queued},
    Row{StatusStep::hold, "hold", {downloading, awaitingConflict}, queued},
    Row{StatusStep::resume, "resume", {paused}, queued},
    Row{StatusStep::ask, "ask", {downloading, awaitingConflict}, awaitingConflict},
    Row{StatusStep::complete, "complete", {downloading, awaitingConflict, queued, paused}, completed},
    Row{StatusStep::skip, "skip", {downloading, awaitingConflict}, skipped},
    Row{StatusStep::deleteRemote, "deleteRemote", {completed, remoteDeleteFailed}, deleting},
    Row{StatusStep::confirmDeletion, "confirmDeletion", {deleting, remoteDeleteFailed}, completed},
    Row{StatusStep::missDeletion, "missDeletion", {completed, deleting, remoteDeleteFailed}, remoteDeleteFailed},
    Row{StatusStep::cancel, "cancel", any, cancelled},
    Row{StatusStep::retry, "retry", any, queued},
    Row{StatusStep::restore, "restore", {downloading, awaitingConflict}, queued},
    Row{StatusStep::restorePaused, "restorePaused", {queued, downloading, awaitingConflict}, paused},
    Row{StatusStep::restoreDeletion, "restoreDeletion", {deleting}, remoteDeleteFailed},
    Row{StatusStep::fetchAgain, "fetchAgain", {completed}, queued},
    Row{StatusStep::takeBack, "takeBack", {cancelled, downloading, awaitingConflict}, queued},
    Row{StatusStep::takeBackPaused, "takeBackPaused", {cancelled, downloading, awaitingConflict}, paused},
    Row{StatusStep::takeBackAsking, "takeBackAsking", {cancelled}, awaitingConflict},
};

static_assert(rows.size() == statusStepCount);

const Row& rowOf(StatusStep step) {
    return *std::ranges::find(rows, step, &Row::step);
}

}  // namespace

std::optional<DownloadStatus> target(StatusStep step, DownloadStatus status) {
    const Row& row = rowOf(step);
    return row.from.contains(status) ? std::optional(row.to) : std::nullopt;
}

std::string_view name(StatusStep step) {
    return rowOf(step).name;
}

}  // namespace tovri
