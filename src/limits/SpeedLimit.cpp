#include "limits/SpeedLimit.h"

#include <algorithm>
#include <functional>
#include <mutex>
#include <utility>
#include <vector>

namespace tovri {
namespace {

using Ready = std::move_only_function<void()>;

constexpr std::chrono::milliseconds interval{40};
// What nobody took is kept for as long as a busy machine may leave a thread waiting.
constexpr std::chrono::milliseconds keeping{200};
// A main loop that was kept busy for longer does not make up for it at once.
constexpr std::chrono::seconds longestPause{1};

double bytesIn(BytesPerSecond rate, MainLoop::Duration time) {
    return static_cast<double>(rate.count) * std::chrono::duration<double>(time).count();
}

void callAll(std::vector<Ready> waiting) {
    for (Ready& ready : waiting) ready();
}

}  // namespace

// What the shares have in common. Its operations, and theirs, run on any thread.
class SpeedLimit::Pool {
public:
    // Takes back what was dealt out under another limit.
    void setRate(std::optional<BytesPerSecond> rate);

    // Deals out so many bytes, and returns what is left of them. Shares that have not asked for more are filled up to
    // their part of `ofOneInterval`.
    [[nodiscard]] double deal(double bytes, ByteCount ofOneInterval);

    [[nodiscard]] std::size_t count() const {
        const std::lock_guard lock(access_);
        return shares_.size();
    }

private:
    friend Share;

    [[nodiscard]] std::vector<Ready> takeReady();

    mutable std::mutex access_;
    std::optional<BytesPerSecond> rate_;
    std::vector<Share*> shares_;
};

class SpeedLimit::Share final : public ByteAllowance {
public:
    explicit Share(std::shared_ptr<Pool> pool) : pool_(std::move(pool)) {
        const std::lock_guard lock(pool_->access_);
        pool_->shares_.push_back(this);
    }

    Share(const Share&) = delete;
    Share& operator=(const Share&) = delete;

    ~Share() override {
        const std::lock_guard lock(pool_->access_);
        std::erase(pool_->shares_, this);
    }

    ByteCount take(ByteCount wanted) override {
        const std::lock_guard lock(pool_->access_);
        if (!pool_->rate_) return wanted;
        const ByteCount given = std::min(wanted, granted_);
        granted_ -= given;
        isAsking_ = given < wanted;
        return given;
    }

    void giveBack(ByteCount unused) override {
        const std::lock_guard lock(pool_->access_);
        if (pool_->rate_) granted_ += unused;
    }

    [[nodiscard]] std::optional<BytesPerSecond> pace() const override {
        const std::lock_guard lock(pool_->access_);
        return pool_->rate_;
    }

    void whenReady(Ready ready) override {
        {
            const std::lock_guard lock(pool_->access_);
            if (pool_->rate_ && granted_ == 0) {
                ready_ = std::move(ready);
                return;
            }
        }
        ready();
    }

private:
    friend Pool;

    // What it can use.
    [[nodiscard]] ByteCount demand(ByteCount reserve) const { return std::max<ByteCount>(reserve - granted_, 0); }

    void grant(ByteCount bytes) {
        granted_ += bytes;
        if (bytes > 0) isAsking_ = false;
    }

    const std::shared_ptr<Pool> pool_;
    ByteCount granted_ = 0;
    bool isAsking_ = false;  // for more than it had
    Ready ready_;
};

void SpeedLimit::Pool::setRate(std::optional<BytesPerSecond> rate) {
    std::vector<Ready> ready;
    {
        const std::lock_guard lock(access_);
        rate_ = rate;
        for (Share* share : shares_) share->granted_ = 0;
        if (!rate) ready = takeReady();
    }
    callAll(std::move(ready));
}

double SpeedLimit::Pool::deal(double bytes, ByteCount ofOneInterval) {
    std::vector<Ready> ready;
    {
        const std::lock_guard lock(access_);
        std::vector<Share*> open = shares_;
        while (!open.empty()) {
            const auto each = static_cast<ByteCount>(bytes / static_cast<double>(open.size()));
            if (each == 0) break;
            const ByteCount reserve = ofOneInterval / static_cast<ByteCount>(shares_.size());
            const auto content = std::ranges::partition(
                open, [&](const Share* share) { return share->isAsking_ || share->demand(reserve) > each; });
            const bool isLast = content.empty();
            for (Share* share : isLast ? std::ranges::subrange(open) : content) {
                const ByteCount given = isLast ? each : share->demand(reserve);
                share->grant(given);
                bytes -= static_cast<double>(given);
            }
            if (isLast) break;
            open.erase(content.begin(), content.end());
        }
        ready = takeReady();
    }
    callAll(std::move(ready));
    return bytes;
}

// Of those that wait for nothing any more.
std::vector<Ready> SpeedLimit::Pool::takeReady() {
    std::vector<Ready> ready;
    for (Share* share : shares_)
        if (share->ready_ && (!rate_ || share->granted_ > 0)) ready.push_back(std::exchange(share->ready_, nullptr));
    return ready;
}

SpeedLimit::SpeedLimit(MainLoop& loop) : loop_(loop), pool_(std::make_shared<Pool>()), lastDealt_(loop.now()) {}

SpeedLimit::~SpeedLimit() {
    pool_->setRate(std::nullopt);
}

void SpeedLimit::set(std::optional<BytesPerSecond> rate) {
    if (rate == rate_) return;
    rate_ = rate;
    timer_.reset();
    pool_->setRate(rate);
    if (pool_->count() > 0) beginToDeal();
}

std::shared_ptr<ByteAllowance> SpeedLimit::join() {
    auto share = std::make_shared<Share>(pool_);
    beginToDeal();
    return share;
}

void SpeedLimit::beginToDeal() {
    if (!rate_ || timer_.isActive()) return;
    free_ = 0;
    lastDealt_ = loop_.now();
    dealLater();
}

void SpeedLimit::dealLater() {
    timer_ = loop_.schedule(interval, [this] { deal(); });
}

void SpeedLimit::deal() {
    timer_.reset();
    const MainLoop::TimePoint now = loop_.now();
    const auto passed = std::min<MainLoop::Duration>(now - lastDealt_, longestPause);
    lastDealt_ = now;
    // Less than a byte for each may have to be kept for long.
    const double most = std::max(bytesIn(*rate_, keeping), static_cast<double>(pool_->count()));
    free_ = std::min(free_, most) + bytesIn(*rate_, passed);
    free_ = pool_->deal(free_, static_cast<ByteCount>(bytesIn(*rate_, interval)));
    if (pool_->count() > 0) dealLater();
}

}  // namespace tovri
