#include "sandbox/http/BodyStream.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

namespace tovri::sandbox {
namespace {

constexpr std::uint64_t pieceSize = 256UL * 1024;
constexpr std::uint64_t piecesPerSecond = 50;  // of an answer whose rate is limited

class BodyStream {
public:
    explicit BodyStream(BodyPlan plan) : plan_(std::move(plan)) {}

    bool writeTo(Sink& sink) {
        std::vector<char> buffer(static_cast<std::size_t>(std::min(plan_.length, pieceSize)));
        const auto start = std::chrono::steady_clock::now();
        while (sent_ < plan_.length) {
            if (fault().cut == sent_) return end(), false;
            if (fault().stall == sent_ && !sink.wait(fault().stallFor.value_or(forever))) return false;
            const std::span<char> piece(buffer.data(), static_cast<std::size_t>(nextPiece()));
            plan_.read(sent_, piece);
            if (sent_ + piece.size() == plan_.length) end();
            if (!sink.write(piece)) return false;
            sent_ += piece.size();
            if (fault().rate && !sink.wait(dueTime() - (std::chrono::steady_clock::now() - start))) return false;
        }
        return true;
    }

    void close() {
        end();
        plan_.closed(sent_);
    }

private:
    static constexpr Fault::Seconds forever{1e9};

    const Fault& fault() const { return plan_.fault; }

    // The last byte goes alone, so that the end can be told right before it.
    std::uint64_t nextPiece() const {
        std::uint64_t count = std::min(pieceSize, std::max<std::uint64_t>(plan_.length - sent_ - 1, 1));
        if (fault().rate) count = std::min(count, std::max<std::uint64_t>(*fault().rate / piecesPerSecond, 1));
        for (const auto& stop : {fault().cut, fault().stall}) {
            if (stop && *stop > sent_) count = std::min(count, *stop - sent_);
        }
        return count;
    }

    Fault::Seconds dueTime() const {
        return Fault::Seconds(static_cast<double>(sent_) / static_cast<double>(*fault().rate));
    }

    void end() {
        if (!std::exchange(isEnding_, true)) plan_.ending();
    }

    BodyPlan plan_;
    std::uint64_t sent_ = 0;
    bool isEnding_ = false;
};

}  // namespace

HttpResponse::Stream streamBody(BodyPlan plan) {
    HttpResponse::Stream stream;
    stream.length = plan.length;
    stream.hidesLength = plan.fault.hidesLength;
    const std::int64_t announced = static_cast<std::int64_t>(plan.length) + plan.fault.announceMore;
    stream.announcedLength = static_cast<std::uint64_t>(std::max<std::int64_t>(announced, 0));
    const auto body = std::make_shared<BodyStream>(std::move(plan));
    stream.writeTo = [body](Sink& sink) { return body->writeTo(sink); };
    stream.closed = [body] { body->close(); };
    return stream;
}

}  // namespace tovri::sandbox
