#include "downloads/running/receiving/SideConnections.h"

#include <algorithm>
#include <utility>
#include <variant>

#include "downloads/running/receiving/StarvationWatch.h"
#include "platform/Await.h"

namespace tovri {

struct SideConnections::Side {
    std::shared_ptr<PartReceiver> receiver;
    ExpectedAnswer expected;
    bool hasBrought = false;
    std::stop_source stop;
};

SideConnections::SideConnections(const Ports& ports, std::shared_ptr<PartialFile> file, int most,
                                 std::function<void()> progressed)
    : ports_(ports), file_(std::move(file)), most_(most), progressed_(std::move(progressed)) {}

SideConnections::~SideConnections() {
    for (const auto& side : sides_) side->receiver->giveBack();
}

void SideConnections::follow(std::string link, bool hasListedChecksum) {
    link_ = std::move(link);
    hasListedChecksum_ = hasListedChecksum;
    hasFirstBrought_ = false;
    std::string host = hostOf(link_);
    if (granted_ && host == host_) return;
    host_ = std::move(host);
    granted_.reset();  // or it would take one connection of the new host's from itself
    granted_ = ports_.budget.join(host_, [this] { adjust(); });
}

// --- How many ---

bool SideConnections::areWorthTrying() const {
    const AnnouncedFile announced = file_->announced();
    const bool areHeldTogether = !announced.validator.empty() || hasListedChecksum_;
    return most_ > 0 && announced.length.value_or(0) >= smallestFile && areHeldTogether && room_ != Room::none &&
           !ports_.transfers.isLimited();
}

int SideConnections::running() const {
    const auto hasBrought = [](const auto& side) { return side->hasBrought; };
    return static_cast<int>(std::ranges::count_if(sides_, hasBrought)) + (hasFirstBrought_ ? 1 : 0);
}

bool SideConnections::areBringing() const {
    constexpr std::chrono::seconds moment{2};
    return !sides_.empty() && lastBrought_ && ports_.loop.now() - *lastBrought_ < moment;
}

void SideConnections::look() {
    if (areWorthTrying()) {
        count_.measure(ports_.loop.now(), running(), file_->taken());
        if (count_.wanted() > 1 && room_ == Room::unknown) {
            room_ = Room::asked;
            scope_.start(keepRoom());
        }
    }
    adjust();
}

Task<> SideConnections::keepRoom() {
    auto allocate = [file = file_]() -> Result<bool> { return file->allocate(*file->announced().length); };
    Result<bool> isKept =
        co_await onVolume<bool>(ports_.loop, ports_.volumes, file_->lane(), scope_.stopToken(), std::move(allocate));
    room_ = isKept.value_or(false) ? Room::kept : Room::none;
    adjust();
}

// The first one keeps its place while it waits for its next attempt.
void SideConnections::adjust() {
    if (!granted_) return;
    granted_->want(room_ == Room::kept && areWorthTrying() ? count_.wanted() : 1);
    const auto most = static_cast<std::size_t>(granted_->granted() - 1);
    while (sides_.size() > most) {
        const std::shared_ptr<Side> youngest = sides_.back();
        end(youngest);
    }
    while (sides_.size() < most && ports_.brakes.of(host_).isFree()) {
        const std::optional<RangePlan::Share> share = file_->share();
        if (!share) return;
        begin(*share);
    }
}

// --- One of them ---

void SideConnections::begin(RangePlan::Share share) {
    const AnnouncedFile announced = file_->announced();
    auto side = std::make_shared<Side>();
    side->receiver = std::make_shared<PartReceiver>(file_, share);
    side->expected = {.offset = share.range.first,
                      .end = share.range.end,
                      .length = announced.length,
                      .validator = announced.validator,
                      .hasListedChecksum = hasListedChecksum_};
    sides_.push_back(side);
    scope_.start(bring(std::move(side)));
}

TransferRequest SideConnections::request(const std::shared_ptr<Side>& side) {
    const ExpectedAnswer& expected = side->expected;
    TransferRequest request;
    request.url = link_;
    request.first = expected.offset;
    request.last = *expected.end - 1;
    request.validator = expected.hasListedChecksum ? std::string() : expected.validator;
    request.accept = [expected](const AnswerHead& head) -> Result<void> {
        Result<AnnouncedFile> announced = checkAnswer(expected, head);
        if (!announced) return failure(announced);
        return {};
    };
    request.receiver = side->receiver;
    request.onProgress = [this, held = std::weak_ptr(side)](ByteCount received) {
        const auto bringing = held.lock();
        if (!bringing || received <= 0) return;
        bringing->hasBrought = haveHelped_ = true;
        lastBrought_ = ports_.loop.now();
        progressed_();
    };
    return request;
}

Task<> SideConnections::bring(std::shared_ptr<Side> side) {
    TransferRequest request = this->request(side);
    Result<TransferEnd> end = co_await Answer<TransferEnd>(
        ports_.loop, side->stop.get_token(),
        [this, &request](auto done) { return ports_.transfers.fetch(std::move(request), std::move(done)); });
    if (end) judge(*side, *end);
    this->end(side);
    if (end) progressed_();
}

// A server that does not answer as asked does not want so many, or knows no parts.
void SideConnections::judge(const Side& side, const TransferEnd& end) {
    if (end.received > 0) haveHelped_ = true;
    if (side.receiver->isDone()) return;
    if (end.head && end.received == 0)
        count_.noteRefusal(ports_.loop.now());
    else
        count_.noteBreak(ports_.loop.now());
}

// What it has not brought is for others; whoever waits hears of it in a turn of his own.
void SideConnections::end(const std::shared_ptr<Side>& side) {
    side->stop.request_stop();
    side->receiver->giveBack();
    if (sides_.remove(side) == 0) return;
    if (ended_) telling_ = ports_.loop.schedule({}, std::exchange(ended_, nullptr));
}

void SideConnections::endAll() {
    while (!sides_.empty()) {
        const std::shared_ptr<Side> youngest = sides_.back();
        end(youngest);
    }
}

Task<Result<void>> SideConnections::oneEnds(std::stop_token stop) {
    constexpr std::chrono::seconds patience{5};
    if (sides_.empty()) co_return Result<void>();
    const StarvationWatch watch(
        ports_.loop, [this] { return file_->taken(); },
        [this] {
            if (!file_->waitsForVolume()) endAll();
        },
        patience);
    Result<std::monostate> ended = co_await Answer<std::monostate>(ports_.loop, std::move(stop), [this](auto done) {
        auto tell = std::make_shared<decltype(done)>(std::move(done));
        ended_ = [tell] { (*tell)(std::monostate{}); };
        return Subscription([this] {
            ended_ = nullptr;
            telling_.reset();
        });
    });
    if (!ended) co_return failure(ended);
    co_return Result<void>();
}

}  // namespace tovri
