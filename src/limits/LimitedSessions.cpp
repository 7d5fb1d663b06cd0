#include "limits/LimitedSessions.h"

#include <algorithm>
#include <utility>

namespace tovri {
namespace {

// Hands on to another receiver as many bytes as the share gives.
class LimitedReceiver final : public ByteReceiver {
public:
    LimitedReceiver(std::shared_ptr<ByteReceiver> receiver, std::shared_ptr<ByteAllowance> share)
        : receiver_(std::move(receiver)), share_(std::move(share)) {}

    Taken take(std::string_view bytes) override {
        const auto again = std::min(ahead_, static_cast<ByteCount>(bytes.size()));
        bytes.remove_prefix(static_cast<std::size_t>(again));
        if (bytes.empty()) {
            ahead_ -= again;
            return Taken::all;
        }
        const ByteCount may = share_->take(static_cast<ByteCount>(bytes.size()));
        waitsForShare_ = may == 0;
        if (waitsForShare_) return Taken::none;
        const Taken taken = receiver_->take(bytes.substr(0, static_cast<std::size_t>(may)));
        if (taken != Taken::all) {
            share_->giveBack(may);
            return taken;
        }
        waitsForShare_ = may < static_cast<ByteCount>(bytes.size());
        ahead_ = waitsForShare_ ? again + may : 0;
        return waitsForShare_ ? Taken::none : Taken::all;
    }

    void whenReady(std::move_only_function<void()> ready) override {
        waitsForShare_ ? share_->whenReady(std::move(ready)) : receiver_->whenReady(std::move(ready));
    }

    [[nodiscard]] std::optional<BytesPerSecond> pace() const override { return share_->pace(); }

    // Bytes that were handed on of a piece of which not all was. Once the attempt has ended.
    [[nodiscard]] ByteCount ahead() const { return ahead_; }

private:
    std::shared_ptr<ByteReceiver> receiver_;
    std::shared_ptr<ByteAllowance> share_;
    ByteCount ahead_ = 0;  // of what comes again
    bool waitsForShare_ = false;
};

}  // namespace

Subscription LimitedTransferSession::fetch(TransferRequest request, Done done) {
    auto receiver = std::make_shared<LimitedReceiver>(std::move(request.receiver), limit_.join());
    request.receiver = receiver;
    return session_.fetch(std::move(request), [receiver, done = std::move(done)](TransferEnd end) mutable {
        end.received += receiver->ahead();
        done(std::move(end));
    });
}

Subscription LimitedHTTPSession::send(HTTPRequest request, Done done) {
    if (!request.bodyFile.empty()) request.bodyAllowance = limit_.join();
    return session_.send(std::move(request), std::move(done));
}

}  // namespace tovri
