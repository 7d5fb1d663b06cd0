#include "bench/desktop/BusyTransfers.h"

#include <utility>

namespace tovri::bench {
namespace {

constexpr std::chrono::milliseconds pause{20};
constexpr ByteCount step = 200'000;  // 10 MB in a second
constexpr ByteCount size = 734'003'200;

}  // namespace

Subscription BusyTransfers::fetch(TransferRequest request, Done done) {
    AnswerHead head;
    head.status = 200;
    head.bodyLength = size;
    (void)request.accept(head);
    const std::int64_t number = ++last_;
    running_[number] = {std::move(request), std::move(done)};
    return Subscription([this, number] { running_.erase(number); });
}

void BusyTransfers::tick() {
    for (auto& [number, running] : running_)
        running.request.onProgress(running.received = (running.received + step) % size);
    timer_ = loop_.schedule(pause, [this] { tick(); });
}

}  // namespace tovri::bench
