#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "downloads/list/DownloadStatus.h"

namespace tovri {

// Why a download changes its status. Each reason leads from certain statuses to one other: the table in StatusStep.cpp
// is the whole life of a download, and DownloadList takes no step that is not in it.
enum class StatusStep {
    start,            // the scheduler gives it a slot
    fail,             // its name is unusable, or look-up, transfer or placement failed
    startOver,        // what was resumed did not go on; from the first byte again
    pauseWaiting,     // the whole queue is paused before it had a slot
    pause,            // its transfer has stopped, its token is kept
    yieldSlot,        // as pause, but it goes on as soon as a slot is free
    hold,             // its destination cannot take it now, or a question from before the last start would be about
                      // another volume; it goes on by itself when that has changed
    resume,           // the user, or the whole queue, goes on
    ask,              // the name is taken, the user decides
    complete,         // the file stands under its name
    skip,             // the name was taken and stays with what has it
    deleteRemote,     // put.io is asked to delete what has arrived
    confirmDeletion,  // put.io has deleted it
    missDeletion,     // put.io did not confirm it, or was not even asked
    cancel,           // by the user, whatever the status is
    retry,            // by the user or a rule, whatever the status is
    restore,          // the previous process died in the midst of it
    restorePaused,    // the same in a queue that is paused
    restoreDeletion,  // the previous process died while put.io was asked
    fetchAgain,       // it had arrived, but the machine has lost it
    takeBack,         // the user takes a cancellation or a removal back: it waits for a slot
    takeBackPaused,   // likewise, and it was paused, or all are now
    takeBackAsking,   // likewise, and it was the user's to decide
};

inline constexpr std::size_t statusStepCount = 23;

// Where the step leads from `status`; none when it is not to be taken from there.
[[nodiscard]] std::optional<DownloadStatus> target(StatusStep step, DownloadStatus status);

// The step's name, for a diagnostic line.
[[nodiscard]] std::string_view name(StatusStep step);

}  // namespace tovri
