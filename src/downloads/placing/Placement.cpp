#include "downloads/placing/Placement.h"

#include <algorithm>
#include <iterator>

#include "downloads/restoring/PlacedCopy.h"

namespace tovri {

template <class Act>
Task<Result<std::filesystem::path>> Placement::perform(Request request, Act act) {
    const FilePlacing step{.files = ports_.files,
                           .folderAccess = ports_.folderAccess,
                           .journal = journal_,
                           .placement = journal_->nextID(),
                           .item = request.item,
                           .bookmark = std::move(request.bookmark),
                           .received = std::move(request.received),
                           .destination = std::move(request.destination),
                           .brought = brought_,
                           .isDeletedLater = request.isDeletedLater,
                           .consent = request.consent,
                           .volume = request.volume,
                           .arrival = request.arrival};
    auto work = [step, act = std::move(act)] { return act(step); };
    // Not given up: a file may have its name by then, and whoever waits has to learn of it.
    Result<Path> placed = co_await onVolume<Path>(ports_.loop, ports_.volumes, request.lane, {}, std::move(work));
    (placed ? arrived_[request.run] : ended_).push_back(step.placement);
    co_return placed;
}

void Placement::runEnded(const DownloadRun* run) {
    const auto arrived = arrived_.extract(run);
    if (arrived) std::ranges::copy(arrived.mapped(), std::back_inserter(ended_));
}

Task<Result<std::filesystem::path>> Placement::place(Request request, std::stop_token stop) {
    return perform(std::move(request), [stop = std::move(stop)](const FilePlacing& step) { return step.place(stop); });
}

// A long copy is not to hold up what is written to the volume while it is read.
Task<Result<std::filesystem::path>> Placement::takePlaceOf(DifferingCopy copy, Request request, std::stop_token stop) {
    const PlacedCopy expected{.path = copy.path, .size = copy.size, .checksum = Checksum::parse(copy.checksum)};
    auto look = [&files = ports_.files, expected]() -> Result<FileStamp> {
        const auto stamp = files.stamp(expected.path);
        if (stamp && expected.checksum && expected.isWhole(files)) return *stamp;
        return failure(Error(ErrorCase::alreadyExists, "What arrived before has changed."));
    };
    Result<FileStamp> former =
        co_await onVolume<FileStamp>(ports_.loop, ports_.volumes, request.lane + " look", {}, std::move(look));
    if (!former) co_return failure(former);
    auto takePlace = [stamp = *former, stop = std::move(stop)](const FilePlacing& step) {
        return step.takePlaceOf(stamp, stop);
    };
    Result<Path> placed = co_await perform(std::move(request), std::move(takePlace));
    co_return placed;
}

Task<bool> Placement::isOnlyCopy(Path path, std::string lane) {
    auto look = [brought = brought_, path]() -> Result<bool> {
        return brought->find(path) == BroughtFiles::Original::gone;
    };
    Result<bool> isOnly = co_await onVolume<bool>(ports_.loop, ports_.volumes, std::move(lane), {}, std::move(look));
    co_return isOnly.value_or(false);
}

Task<std::optional<FileStamp>> Placement::stamp(Path placed, std::string lane) {
    using Stamp = std::optional<FileStamp>;
    auto look = [&files = ports_.files, placed]() -> Result<Stamp> { return files.stamp(placed); };
    Result<Stamp> stamp = co_await onVolume<Stamp>(ports_.loop, ports_.volumes, std::move(lane), {}, std::move(look));
    co_return stamp.value_or(std::nullopt);
}

Task<Result<std::filesystem::path>> Placement::apply(Request request, ConflictChoice choice, std::stop_token stop) {
    return perform(std::move(request),
                   [choice, stop = std::move(stop)](const FilePlacing& step) { return step.apply(choice, stop); });
}

}  // namespace tovri
