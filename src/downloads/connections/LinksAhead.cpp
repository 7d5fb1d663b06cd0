#include "downloads/connections/LinksAhead.h"

#include <algorithm>
#include <utility>
#include <variant>

#include "base/Signal.h"
#include "platform/Await.h"

namespace tovri {

struct LinksAhead::Look {
    explicit Look(FileID wanted) : file(wanted) {}

    [[nodiscard]] bool isOld(MainLoop::TimePoint now) const { return !isUnderWay && now - came > lifetime; }

    const FileID file;
    bool isUnderWay = true;
    std::optional<std::string> link;
    MainLoop::TimePoint came;
    Signal<> ended;
    std::stop_source stop;
};

void LinksAhead::prepare(const std::vector<FileID>& files) {
    if (service_ == nullptr) return;
    const bool mayAsk = brakes_.of(HostBrakes::service).isFree();
    const auto before = std::exchange(looks_, {});
    std::vector<std::shared_ptr<Look>> begun;
    for (const FileID file : files) {
        const auto isOfIt = [file](const auto& look) { return look->file == file; };
        if (std::ranges::any_of(looks_, isOfIt)) continue;
        const auto known = std::ranges::find_if(before, isOfIt);
        const bool isUsable = known != before.end() && !(*known)->isOld(loop_.now());
        if (!isUsable && !mayAsk) continue;
        looks_.push_back(isUsable ? *known : std::make_shared<Look>(file));
        if (!isUsable) begun.push_back(looks_.back());
    }
    for (const auto& look : before)
        if (std::ranges::find(looks_, look) == looks_.end()) look->stop.request_stop();
    for (const auto& look : begun) scope_.start(ask(look));
}

Task<> LinksAhead::ask(std::shared_ptr<Look> look) {
    Result<std::string> link = failure(Error::cancelled());
    if (auto pass = brakes_.of(HostBrakes::service).enter(id_)) {
        link = co_await service_->downloadLink(look->file, look->stop.get_token());
        const std::optional<Fault> fault = link ? std::nullopt : faultOf(link.error());
        if (fault)
            (void)pass->failed(*fault);
        else if (link || !link.error().isCancellation())
            pass->succeeded();
    }
    look->isUnderWay = false;
    look->came = loop_.now();
    if (link) look->link = std::move(*link);
    look->ended.tell();
}

std::shared_ptr<LinksAhead::Look> LinksAhead::take(FileID file) {
    const auto found = std::ranges::find_if(looks_, [&](const auto& each) { return each->file == file; });
    if (found == looks_.end()) return nullptr;
    std::shared_ptr<Look> look = std::move(*found);
    looks_.erase(found);
    return look;
}

Task<std::optional<std::string>> LinksAhead::linkOf(std::shared_ptr<Look> look, std::stop_token stop) {
    if (look->isUnderWay) {
        Result<std::monostate> ended = co_await Answer<std::monostate>(loop_, stop, [look](auto done) {
            auto tell = std::make_shared<decltype(done)>(std::move(done));
            return look->ended.subscribe([tell] { (*tell)(std::monostate{}); });
        });
        if (!ended) look->stop.request_stop();
    }
    if (stop.stop_requested() || look->isOld(loop_.now())) co_return std::nullopt;
    co_return look->link;
}

}  // namespace tovri
