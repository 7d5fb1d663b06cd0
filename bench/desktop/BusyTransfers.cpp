#include "bench/desktop/BusyTransfers.h"

#include <chrono>

namespace tovri::bench {
namespace {

constexpr std::chrono::milliseconds pause{20};
constexpr ByteCount step = 200'000;  // 10 MB in a second
constexpr ByteCount size = 734'003'200;

}  // namespace

BusyTransfers::BusyTransfers(TransferDelegate& delegate)
    : delegate_(delegate), thread_([this](const std::stop_token& stop) {
          while (!stop.stop_requested()) {
              std::this_thread::sleep_for(pause);
              report();
          }
      }) {}

void BusyTransfers::start(TransferID transfer) {
    const std::lock_guard lock(mutex_);
    written_[transfer] = 0;
}

void BusyTransfers::cancel(TransferID transfer) {
    const std::lock_guard lock(mutex_);
    written_.erase(transfer);
}

void BusyTransfers::cancelProducingToken(TransferID transfer, TokenReceiver receive) {
    cancel(transfer);
    receive(std::nullopt);
}

void BusyTransfers::report() {
    const std::lock_guard lock(mutex_);
    for (auto& [transfer, written] : written_) delegate_.transferDidWrite(transfer, written += step, size);
}

}  // namespace tovri::bench
