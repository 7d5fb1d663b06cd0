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
    const auto before = std::exchange(looks_, {});
    std::vector<std::shared_ptr<Look>> begun;
    for (const FileID file : files) {
        const auto isOfIt = [file](const auto& look) { return look->file == file; };
        if (std::ranges::any_of(looks_, isOfIt)) continue;
        const auto known = std::ranges::find_if(before, isOfIt);
        const bool isUsable = known != before.end() && !(*known)->isOld(loop_.now());
        looks_.push_back(isUsable ? *known : std::make_shared<Look>(file));
        if (!isUsable) begun.push_back(looks_.back());
    }
    for (const auto& look : before)
        if (std::ranges::find(looks_, look) == looks_.end()) look->stop.request_stop();
    for (const auto& look : begun) scope_.start(ask(look));
}

Task<> LinksAhead::ask(std::shared_ptr<Look> look) {
    Result<std::string> link = co_await service_->downloadLink(look->file, look->stop.get_token());
    look->isUnderWay = false;
    look->came = loop_.now();
    if (link) look->link = std::move(*link);
    look->ended.tell();
}

Task<std::optional<std::string>> LinksAhead::take(FileID file, std::stop_token stop) {
    const auto found = std::ranges::find_if(looks_, [&](const auto& each) { return each->file == file; });
    if (found == looks_.end()) co_return std::nullopt;
    std::shared_ptr<Look> look = std::move(*found);
    looks_.erase(found);
    if (look->isUnderWay) {
        Result<std::monostate> ended = co_await Answer<std::monostate>(loop_, stop, [&look](auto done) {
            auto tell = std::make_shared<decltype(done)>(std::move(done));
            return look->ended.subscribe([tell] { (*tell)(std::monostate{}); });
        });
        if (!ended) look->stop.request_stop();
    }
    if (stop.stop_requested() || look->isOld(loop_.now())) co_return std::nullopt;
    co_return std::move(look->link);
}

}  // namespace tovri
