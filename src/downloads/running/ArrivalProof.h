#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "downloads/list/Download.h"
#include "downloads/partials/Checksum.h"
#include "service/records/PutIOFile.h"

namespace tovri {

// By what a file that has arrived is known to be the one that put.io has.
enum class ArrivalProof {
    none,      // put.io gave nothing to compare with, or the comparison failed
    size,      // it is as long as put.io says
    checksum,  // and has the same checksum
};

// "none", "size", "checksum".
[[nodiscard]] std::string_view rawValue(ArrivalProof proof);

// put.io's checksum of the whole file; none where it gave none that can be read.
[[nodiscard]] std::optional<Checksum> listedChecksum(const DownloadRecord& item);

// Whether put.io said how long the file is. It says 0 for what it has not measured: such a file has no known size
// unless nothing arrived.
[[nodiscard]] bool isListedSizeKnown(const DownloadRecord& item);

// None for an item whose file has not arrived.
[[nodiscard]] std::optional<ArrivalProof> arrivalProof(const DownloadRecord& item);

// What differs between the file that arrived and put.io's record of it, as the user reads it: "Arrived, but differs
// from put.io's record: 153 bytes instead of 4,294,967,296."
[[nodiscard]] std::optional<std::string> arrivalDifference(const DownloadRecord& item);

// The file that the item has placed, where it differs and can be recognised.
[[nodiscard]] std::optional<DifferingCopy> differingCopy(const DownloadRecord& item);

// Takes over what put.io says of the file now: its listing may be old. The size that it was queued with stays.
void learn(DownloadRecord& item, const PutIOFile& record);

}  // namespace tovri
