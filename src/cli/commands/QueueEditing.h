#pragma once

#include <cstddef>
#include <vector>

#include "downloads/saving/QueueSnapshot.h"

namespace tovri::cli {

// What the user can do to a saved queue on which no engine works. Each returns how many downloads it changed. What the
// changed downloads leave behind on the disk is swept when the engine next restores the queue.

// These let the whole queue rest, or let it go on.
std::size_t pauseQueue(QueueSnapshot& queue);
std::size_t resumeQueue(QueueSnapshot& queue);

// These are about the given downloads; those in whose state there is nothing to do stay as they are.
std::size_t pauseItems(QueueSnapshot& queue, const std::vector<UUID>& items);
std::size_t resumeItems(QueueSnapshot& queue, const std::vector<UUID>& items);
std::size_t cancelItems(QueueSnapshot& queue, const std::vector<UUID>& items, Timestamp now);
std::size_t removeItems(QueueSnapshot& queue, const std::vector<UUID>& items);

// The first of the items comes to stand on top.
std::size_t moveItemsToTop(QueueSnapshot& queue, const std::vector<UUID>& items);

std::size_t cancelAllItems(QueueSnapshot& queue, Timestamp now);
std::size_t removeFinishedItems(QueueSnapshot& queue);

}  // namespace tovri::cli
