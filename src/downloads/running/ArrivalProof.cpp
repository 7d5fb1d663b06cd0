#include "downloads/running/ArrivalProof.h"

#include "base/ByteCountFormat.h"

namespace tovri {
namespace {

bool hasArrived(DownloadStatus status) {
    return status == DownloadStatus::completed || status == DownloadStatus::deleting ||
           status == DownloadStatus::remoteDeleteFailed;
}

bool isSizeOther(const DownloadRecord& item) {
    return isListedSizeKnown(item) && item.bytesDownloaded != item.expectedSize();
}

// None when there is nothing to compare.
std::optional<bool> isChecksumEqual(const DownloadRecord& item) {
    const auto listed = listedChecksum(item);
    const auto arrived = item.arrivedChecksum ? Checksum::parse(*item.arrivedChecksum) : std::nullopt;
    if (!listed || !arrived) return std::nullopt;
    return *listed == *arrived;
}

}  // namespace

std::string_view rawValue(ArrivalProof proof) {
    switch (proof) {
        case ArrivalProof::none:
            return "none";
        case ArrivalProof::size:
            return "size";
        case ArrivalProof::checksum:
            return "checksum";
    }
    return "";
}

std::optional<Checksum> listedChecksum(const DownloadRecord& item) {
    return item.crc32 ? Checksum::parse(*item.crc32) : std::nullopt;
}

bool isListedSizeKnown(const DownloadRecord& item) {
    return item.expectedSize() > 0 || (item.expectedSize() == 0 && item.bytesDownloaded == 0);
}

std::optional<ArrivalProof> arrivalProof(const DownloadRecord& item) {
    if (!hasArrived(item.status)) return std::nullopt;
    const auto isEqual = isChecksumEqual(item);
    if (isSizeOther(item) || isEqual == false) return ArrivalProof::none;
    if (isEqual) return ArrivalProof::checksum;
    return isListedSizeKnown(item) ? ArrivalProof::size : ArrivalProof::none;
}

std::optional<std::string> arrivalDifference(const DownloadRecord& item) {
    const std::string what = "Arrived, but differs from put.io's record: ";
    if (isSizeOther(item))
        return what + formatExactByteCount(item.bytesDownloaded) + " instead of " +
               formatGroupedNumber(item.expectedSize()) + ".";
    if (isChecksumEqual(item) == false)
        return what + "its checksum is " + *item.arrivedChecksum + ", put.io's is " + listedChecksum(item)->text() +
               ".";
    return std::nullopt;
}

std::optional<DifferingCopy> differingCopy(const DownloadRecord& item) {
    if (!item.resolvedURL || !item.arrivedChecksum || !hasArrived(item.status)) return std::nullopt;
    if (!isSizeOther(item) && isChecksumEqual(item) != false) return std::nullopt;
    return DifferingCopy{.path = *item.resolvedURL, .size = item.bytesDownloaded, .checksum = *item.arrivedChecksum};
}

void learn(DownloadRecord& item, const PutIOFile& record) {
    if (record.size) {
        item.listedSize.reset();
        if (*record.size != item.fileSize) item.listedSize = record.size;
    }
    item.crc32 = record.crc32;
}

}  // namespace tovri
