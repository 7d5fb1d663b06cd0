#pragma once

#include <array>
#include <cstddef>

#include "screens/downloads/RankedTree.h"

namespace tovri {

// What a batch shows of its items, in sum.
struct BatchSums {
    // What one item adds.
    struct Share {
        DownloadStatus status = DownloadStatus::queued;
        ByteCount bytes = 0;  // that have arrived
        ByteCount size = 0;
        BytesPerSecond speed;
    };

    std::array<std::size_t, downloadStatusCount> counts{};
    ByteCount bytes = 0;
    ByteCount size = 0;
    BytesPerSecond speed;

    [[nodiscard]] std::size_t count(DownloadStatus status) const { return counts[static_cast<std::size_t>(status)]; }

    void add(const Share& share) {
        ++counts[static_cast<std::size_t>(share.status)];
        bytes += share.bytes;
        size += share.size;
        speed = speed + share.speed;
    }

    void subtract(const Share& share) {
        --counts[static_cast<std::size_t>(share.status)];
        bytes -= share.bytes;
        size -= share.size;
        speed = BytesPerSecond(speed.count - share.speed.count);
    }
};

[[nodiscard]] inline BatchSums::Share shareOf(const Download& item) {
    return {item.status, item.bytesDownloaded, item.expectedSize(), item.speed};
}

// The items of one section that were queued together. They have one row, and while that is open each has its own below
// it.
struct Batch {
    struct Member {
        RowPlace place;
        BatchSums::Share share = {};  // as it is in the sums

        [[nodiscard]] static std::size_t rows() { return 1; }
    };

    UUID id;
    RowPlace place = {};  // its first item's, by which it stands among other rows
    bool isOpen = false;
    RankedTree<Member> members;
    BatchSums sums = {};

    [[nodiscard]] std::size_t rows() const { return isOpen ? 1 + members.rows() : 1; }

    // Null for one whose last item is just leaving it.
    [[nodiscard]] const Download* firstItem() const {
        return members.size() == 0 ? nullptr : members.first().place.item.get();
    }
};

}  // namespace tovri
