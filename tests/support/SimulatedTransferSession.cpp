#include "support/SimulatedTransferSession.h"

#include <algorithm>

namespace tovri::test {
namespace {

constexpr ByteCount stepsInASecond = 20;
constexpr int mostConnections = 6;

std::string validatorOf(const SimulatedStorage::Link& link) {
    if (!link.validator.empty()) return link.validator;
    return '"' + std::to_string(std::hash<std::string>()(link.content)) + '"';
}

}  // namespace

struct SimulatedTransferSession::Attempt {
    TransferRequest request;
    Done done;
    TransferEnd end;
    ByteCount at = 0;  // of the file
    bool isConnected = false;
    SimulatedStorage::Break* breaks = nullptr;  // strikes this attempt
    Subscription next;
};

SimulatedTransferSession::SimulatedTransferSession(VirtualLoop& loop, SimulatedStorage& storage)
    : loop_(loop), storage_(storage) {}

SimulatedTransferSession::~SimulatedTransferSession() {
    storage_.running -= static_cast<int>(attempts_.size());
}

Subscription SimulatedTransferSession::fetch(TransferRequest request, Done done) {
    const std::int64_t id = nextID_++;
    storage_.started.push_back(request.url);
    if (request.first > 0) ++storage_.resumed;
    storage_.highestRunning = std::max(storage_.highestRunning, ++storage_.running);
    auto attempt = std::make_unique<Attempt>();
    attempt->request = std::move(request);
    attempt->done = std::move(done);
    attempts_[id] = std::move(attempt);
    waiting_.push_back(id);
    connectWaiting();
    return Subscription([id, held = std::weak_ptr(self_)] {
        if (const auto self = held.lock()) (void)(*self)->take(id);
    });
}

void SimulatedTransferSession::connectWaiting() {
    while (connected_ < mostConnections && !waiting_.empty()) {
        const std::int64_t id = waiting_.front();
        waiting_.erase(waiting_.begin());
        Attempt& attempt = *attempts_.at(id);
        attempt.isConnected = true;
        storage_.highestConnected = std::max(storage_.highestConnected, ++connected_);
        attempt.next = loop_.schedule(storage_.latency, [this, id] { begin(id); });
    }
}

AnswerHead SimulatedTransferSession::answer(const Attempt& attempt, SimulatedStorage::Link& link) const {
    const auto size = static_cast<ByteCount>(link.content.size());
    const TransferRequest& request = attempt.request;
    AnswerHead head;
    head.status = link.status;
    head.contentEncoding = link.contentEncoding;
    head.validator = validatorOf(link);
    const bool isRefused = link.refusedResumes > 0 && request.first > 0 && link.refusedResumes-- > 0;
    const bool isSame = request.validator.empty() || request.validator == head.validator;
    if (attempt.breaks != nullptr && !attempt.breaks->isResumable) head.validator.clear();
    if ((request.first > 0 || request.last) && isSame && !isRefused && request.first < size) {
        head.status = 206;
        const ByteCount last = std::min(request.last.value_or(size - 1), size - 1);
        head.contentRange = ContentRange{request.first + link.skippedInRange, last, size};
        head.bodyLength = last - request.first - link.skippedInRange + 1;
    } else if (link.announcesLength) {
        head.bodyLength = size;
    }
    return head;
}

std::optional<AnswerHead> SimulatedTransferSession::refusal(const std::string& url) const {
    if (storage_.refuses)
        if (auto refused = storage_.refuses(url)) return refused;
    AnswerHead head;
    const auto found = storage_.links.find(url);
    head.status = found == storage_.links.end() ? 404 : found->second.expired.value_or(found->second.status);
    return head.status > 299 ? std::optional(head) : std::nullopt;
}

void SimulatedTransferSession::begin(std::int64_t id) {
    Attempt& attempt = *attempts_.at(id);
    const std::string& url = attempt.request.url;
    if (storage_.keepsAway)
        if (std::optional<Error> error = storage_.keepsAway(url)) return end(id, std::move(error));
    if (const std::optional<AnswerHead> refused = refusal(url)) {
        attempt.end.head = refused;
        Result<void> accepted = attempt.request.accept(*refused);
        return end(id, accepted ? std::nullopt : std::optional(std::move(accepted.error())));
    }
    const auto found = storage_.links.find(url);
    SimulatedStorage::Link& link = found->second;
    const auto fault = std::ranges::find_if(
        link.breaks, [&](const auto& each) { return each.times > 0 && each.at >= attempt.request.first; });
    if (fault != link.breaks.end()) {
        attempt.breaks = &*fault;
        --fault->times;
    }
    attempt.end.head = answer(attempt, link);
    if (attempt.end.head->contentRange) attempt.at = attempt.end.head->contentRange->first;
    if (Result<void> accepted = attempt.request.accept(*attempt.end.head); !accepted)
        return end(id, std::move(accepted.error()));
    step(id);
}

// Ends the attempt where it has come to its end, and otherwise plans the next arrival of bytes.
void SimulatedTransferSession::step(std::int64_t id) {
    Attempt& attempt = *attempts_.at(id);
    const SimulatedStorage::Link& link = storage_.links.at(attempt.request.url);
    if (attempt.breaks != nullptr && attempt.at >= attempt.breaks->at) {
        const TransportFault fault = attempt.breaks->fault;
        if (fault != TransportFault::silent) return end(id, Error(fault, "The connection broke."));
        attempt.next = loop_.schedule(attempt.request.idleLimit,
                                      [this, id, fault] { end(id, Error(fault, "Nothing came; retry.")); });
        return;
    }
    const auto& range = attempt.end.head->contentRange;
    const ByteCount size = range ? range->last + 1 : static_cast<ByteCount>(link.content.size());
    if (attempt.at >= size) return end(id, std::nullopt);
    const ByteCount until = attempt.breaks != nullptr ? std::min(attempt.breaks->at, size) : size;
    const ByteCount rate = std::max<ByteCount>(link.rate, 1);
    const ByteCount count = std::min(until - attempt.at, std::max<ByteCount>(rate / stepsInASecond, 1));
    const auto delay =
        std::min<MainLoop::Duration>(std::chrono::seconds(1), std::chrono::nanoseconds(count * 1'000'000'000 / rate));
    attempt.next = loop_.schedule(delay, [this, id, count] { arrive(id, count); });
}

void SimulatedTransferSession::arrive(std::int64_t id, ByteCount count) {
    Attempt& attempt = *attempts_.at(id);
    const SimulatedStorage::Link& link = storage_.links.at(attempt.request.url);
    const auto bytes =
        std::string_view(link.content).substr(static_cast<std::size_t>(attempt.at), static_cast<std::size_t>(count));
    const ByteReceiver::Taken taken = attempt.request.receiver->take(bytes);
    if (taken == ByteReceiver::Taken::refused) return end(id, Error(ErrorCase::file, "The receiver refused."));
    if (taken == ByteReceiver::Taken::none) {
        attempt.request.receiver->whenReady([this, id, count, held = std::weak_ptr(self_)] {
            if (held.expired() || !attempts_.contains(id)) return;
            attempts_.at(id)->next = loop_.schedule({}, [this, id, count] { arrive(id, count); });
        });
        return;
    }
    attempt.at += count;
    attempt.end.received += count;
    storage_.bytesSent += count;
    const auto report = attempt.request.onProgress;  // may end its own attempt
    if (report) report(attempt.end.received);
    if (attempts_.contains(id)) step(id);
}

void SimulatedTransferSession::end(std::int64_t id, std::optional<Error> error) {
    const auto ended = take(id);
    ended->end.error = std::move(error);
    ended->done(std::move(ended->end));
}

// Takes an attempt off the list; null when it has ended before.
std::unique_ptr<SimulatedTransferSession::Attempt> SimulatedTransferSession::take(std::int64_t id) {
    auto taken = attempts_.extract(id);
    if (taken.empty()) return nullptr;
    --storage_.running;
    taken.mapped()->next.reset();
    if (taken.mapped()->isConnected) --connected_;
    std::erase(waiting_, id);
    connectWaiting();
    return std::move(taken.mapped());
}

}  // namespace tovri::test
