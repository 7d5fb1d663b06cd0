#include "downloads/list/Download.h"

#include <utility>

#include "base/ByteCountFormat.h"

namespace tovri {

void DownloadRecord::forgetArrival() {
    progress = 0;
    bytesDownloaded = 0;
    error.reset();
    stagedURL.reset();
    resolvedURL.reset();
    completedAt.reset();
    arrivedChecksum.reset();
    hasStartedOver = false;
    deletionAccount.reset();
    isUnproven = false;
    durable.reset();
}

void DownloadRecord::noteFailedTry(Timestamp at, std::string what) {
    FailedTries tries = failedTries ? *failedTries : FailedTries();
    tries.push_back({at, std::move(what)});
    failedTries = keptTries(std::move(tries));
}

bool isOutdated(const DownloadRecord& item, Timestamp now) {
    constexpr std::chrono::seconds keptFor{2'592'000};  // 30 days
    const auto reference = item.completedAt ? item.completedAt : item.startedAt;
    return isFinished(item.status) && reference && now - *reference > keptFor;
}

std::string Download::speedText() const {
    return speed < BytesPerSecond(1) ? "" : formatRate(speed);
}

std::string Download::progressText() const {
    return formatByteCount(bytesDownloaded) + " / " + formatByteCount(expectedSize());
}

std::string Download::percentText() const {
    return tovri::percentText(progress);
}

std::optional<double> Download::etaSeconds() const {
    const ByteCount remaining = expectedSize() - bytesDownloaded;
    if (status != Status::downloading || speed <= BytesPerSecond() || expectedSize() <= 0 || remaining <= 0)
        return std::nullopt;
    return timeFor(remaining, speed).count();
}

std::string Download::etaText() const {
    const std::optional<double> seconds = etaSeconds();
    return seconds ? durationText(*seconds) + " left" : "";
}

std::string Hold::textAt(Timestamp now) const {
    if (!until || *until <= now) return text;
    const std::chrono::duration<double> left = std::chrono::ceil<std::chrono::seconds>(*until - now);
    return text + ", again in " + durationText(left.count());
}

std::string percentText(double progress) {
    const bool isShare = progress >= 0 && progress <= 1;
    return (isShare ? std::to_string(static_cast<int>(progress * 100)) : std::string(noNumber)) + "%";
}

std::string durationText(double seconds) {
    const auto whole = static_cast<std::int64_t>(seconds);
    if (whole < 60) return std::to_string(whole) + "s";
    if (whole < 3600) return std::to_string(whole / 60) + "m " + std::to_string(whole % 60) + "s";
    return std::to_string(whole / 3600) + "h " + std::to_string(whole % 3600 / 60) + "m";
}

}  // namespace tovri
