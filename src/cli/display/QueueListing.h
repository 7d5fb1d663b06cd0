#pragma once

#include <string>
#include <vector>

#include "downloads/saving/QueueSnapshot.h"

namespace tovri::cli {

// The queue as lines of text: what is active, paused, queued and finished, each download with the beginning of its ID.
[[nodiscard]] std::vector<std::string> listQueue(const QueueSnapshot& queue, Timestamp now);

// The queue as one JSON document on one line.
[[nodiscard]] std::string queueJSON(const QueueSnapshot& queue);

}  // namespace tovri::cli
