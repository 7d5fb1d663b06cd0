#include "downloads/placing/DurabilityCommit.h"

#include <utility>

namespace tovri {

using Status = Download::Status;

DurabilityCommit::DurabilityCommit(VolumePorts ports, DownloadList& list, SaveSchedule& saves,
                                   std::shared_ptr<PlacementJournal> journal)
    : ports_(ports),
      list_(list),
      saves_(saves),
      journal_(std::move(journal)),
      following_(list.onChange([this](const QueueChange& change) {
          if (change.kind == QueueChange::Kind::status && !change.item->durable.has_value())
              add(list_.changeable(*change.item));
      })) {}

void DurabilityCommit::add(const DownloadPointer& item) {
    if (item->status != Status::completed || !item->resolvedURL) return;
    unfinished_.insert(std::filesystem::path(*item->resolvedURL).parent_path());
    scope_.start(findVolume(item));
}

Task<> DurabilityCommit::findVolume(DownloadPointer item) {
    const Path path = *item->resolvedURL;
    Result<std::string> lane = co_await ports_.lanes.laneOf(path.parent_path(), {});
    if (!lane) co_return;
    if (item->syncRuleID) volumes_[*lane].isUrgent = true;
    wait(*lane, {.path = path, .item = item});
}

Task<Result<void>> DurabilityCommit::secure(Path placed, std::string lane) {
    unfinished_.insert(placed.parent_path());
    Result<std::monostate> secured = co_await Answer<std::monostate>(ports_.loop, {}, [&](auto done) {
        volumes_[lane].isUrgent = true;
        wait(lane, {.path = placed, .item = nullptr, .secured = std::move(done)});
        return Subscription();
    });
    if (!secured) co_return failure(secured);
    co_return Result<void>();
}

Task<Result<void>> DurabilityCommit::secureAll(std::stop_token stop) {
    hurry();
    Result<std::monostate> ended = co_await Answer<std::monostate>(ports_.loop, std::move(stop), [this](auto done) {
        if (isDone()) {
            done(std::monostate());
            return Subscription();
        }
        auto tell = std::make_shared<decltype(done)>(std::move(done));
        return onDone([tell] { (*tell)(std::monostate()); });
    });
    isHurrying_ = false;
    if (!ended) co_return failure(ended);
    if (refused_) co_return failure(*refused_);
    co_return Result<void>();
}

void DurabilityCommit::hurry() {
    isHurrying_ = true;
    for (const auto& [lane, volume] : volumes_) arrange(lane);
}

void DurabilityCommit::wait(const std::string& lane, Arrival arrival) {
    volumes_[lane].waiting.push_back(std::move(arrival));
    arrange(lane);
}

void DurabilityCommit::arrange(const std::string& lane) {
    Volume& volume = volumes_[lane];
    if (volume.isCommitting || volume.waiting.empty()) return;
    if (isHurrying_ || volume.isUrgent) {
        scope_.start(commit(lane));
    } else if (!volume.next.isActive()) {
        volume.next = ports_.loop.schedule(patience, [this, lane] { scope_.start(commit(lane)); });
    }
}

Task<> DurabilityCommit::commit(std::string lane) {
    Volume& volume = volumes_[lane];  // stays where it is
    std::vector<Arrival> arrivals = std::exchange(volume.waiting, {});
    volume.next.reset();
    volume.isUrgent = false;
    volume.isCommitting = true;
    std::vector<Path> paths;
    paths.reserve(arrivals.size());
    for (const Arrival& arrival : arrivals) paths.push_back(arrival.path);
    auto sync = [&files = ports_.files, journal = journal_, paths]() -> Result<std::vector<Outcome>> {
        std::vector<Outcome> outcomes;
        for (Result<void>& durable : files.makeAllDurable(paths)) outcomes.push_back({.durable = std::move(durable)});
        for (std::size_t i = 0; i < paths.size(); ++i)
            outcomes[i].isGone = !outcomes[i].durable && !files.exists(paths[i]);
        (void)journal->makeDurable();  // whoever deletes anything because of it asks again
        return outcomes;
    };
    Result<std::vector<Outcome>> outcomes =
        co_await onVolume<std::vector<Outcome>>(ports_.loop, ports_.volumes, lane + " sync", {}, std::move(sync));
    volume.isCommitting = false;
    for (std::size_t i = 0; i < arrivals.size(); ++i) conclude(std::move(arrivals[i]), (*outcomes)[i]);
    arrange(lane);
    if (isDone()) done_.tell();
}

void DurabilityCommit::conclude(Arrival arrival, const Outcome& outcome) {
    unfinished_.erase(unfinished_.find(arrival.path.parent_path()));
    if (!outcome.durable && !outcome.isGone && !refused_) refused_ = outcome.durable.error();
    if (arrival.item) concludeItem(*arrival.item, arrival.path, outcome);
    if (arrival.item) secured_.tell(*arrival.item);
    if (!arrival.secured) return;
    if (outcome.durable)
        arrival.secured(std::monostate());
    else
        arrival.secured(failure(Error(outcome.durable.error())));
}

// A file that the user has taken away meanwhile is not looked for after a loss of power either. One that the disk has
// refused once is not asked for again: it would say yes although the bytes are lost.
void DurabilityCommit::concludeItem(Download& item, const Path& path, const Outcome& outcome) {
    if (item.status != Status::completed || item.resolvedURL != path.native()) return;
    item.durable = outcome.durable || outcome.isGone;
    if (!*item.durable) {
        item.error = outcome.durable.error().description;
        list_.tellProgress(item);
    }
    saves_.request(SaveSchedule::Urgency::eventually);
}

}  // namespace tovri
