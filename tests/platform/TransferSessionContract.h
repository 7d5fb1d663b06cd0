#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "platform/GatheringReceiver.h"
#include "platform/MainLoop.h"
#include "platform/TransferSession.h"

namespace tovri::test {

// Sessions on a loop, and a far side that serves files and misbehaves.
class TransferWorld {
public:
    virtual ~TransferWorld() = default;

    [[nodiscard]] virtual std::unique_ptr<TransferSession> makeSession() = 0;
    [[nodiscard]] virtual MainLoop& loop() = 0;

    // A link to a new file, and the bytes that it serves.
    [[nodiscard]] virtual std::string serve(ByteCount size) = 0;
    [[nodiscard]] virtual std::string content(const std::string& link) = 0;

    // The connection of the next answer breaks after so many bytes of its body.
    virtual void breakNext(const std::string& link, ByteCount after) = 0;

    // What the link answers, and how many bytes in a second, from now on.
    virtual void setStatus(const std::string& link, int status) = 0;
    virtual void setRate(const std::string& link, ByteCount rate) = 0;

    // Runs the loop. A test whose condition does not come true within the world's limit has failed.
    virtual void waitUntil(const std::function<bool()>& condition) = 0;
};

// One attempt, and what was told of it.
struct TransferAttempt {
    std::shared_ptr<GatheringReceiver> receiver;
    std::shared_ptr<std::vector<AnswerHead>> heads = std::make_shared<std::vector<AnswerHead>>();  // those offered
    std::vector<ByteCount> progress;
    std::vector<TransferEnd> ends;
    Subscription operation;

    [[nodiscard]] std::size_t told() const { return progress.size() + ends.size(); }
};

class TransferSessionContract : public testing::TestWithParam<std::function<std::unique_ptr<TransferWorld>()>> {
public:
    using Receiver = std::shared_ptr<GatheringReceiver>;

    // For the file from `first` on.
    static TransferRequest request(std::string link, ByteCount first = 0, std::string validator = {}) {
        TransferRequest made;
        made.url = std::move(link);
        made.first = first;
        made.validator = std::move(validator);
        return made;
    }

    std::unique_ptr<TransferAttempt> begin(TransferRequest request,
                                           Receiver receiver = std::make_shared<GatheringReceiver>()) {
        auto attempt = std::make_unique<TransferAttempt>();
        attempt->receiver = receiver;
        request.receiver = std::move(receiver);
        request.accept = [heads = attempt->heads, accept = std::move(request.accept)](const AnswerHead& head) {
            heads->push_back(head);
            return accept ? accept(head) : Result<void>();
        };
        request.onProgress = [this, attempt = attempt.get()](ByteCount received) {
            EXPECT_EQ(std::this_thread::get_id(), mainThread);
            EXPECT_TRUE(attempt->ends.empty());
            attempt->progress.push_back(received);
        };
        attempt->operation = session->fetch(std::move(request), [this, attempt = attempt.get()](TransferEnd end) {
            EXPECT_EQ(std::this_thread::get_id(), mainThread);
            attempt->ends.push_back(std::move(end));
        });
        EXPECT_EQ(attempt->told(), 0U) << "told before fetch returned";
        return attempt;
    }

    TransferEnd endOf(const TransferAttempt& attempt) {
        world->waitUntil([&] { return !attempt.ends.empty(); });
        return attempt.ends.at(0);
    }

    std::unique_ptr<TransferAttempt> fetch(TransferRequest request,
                                           Receiver receiver = std::make_shared<GatheringReceiver>()) {
        auto attempt = begin(std::move(request), std::move(receiver));
        static_cast<void>(endOf(*attempt));
        return attempt;
    }

    // Waits for no bytes to be under way any more that were when it is called.
    void settle() { EXPECT_EQ(fetch(request(small))->ends.size(), 1U); }

    // A receiver without room, which wakes the waiting test when it is full.
    Receiver fullReceiver() {
        auto receiver = std::make_shared<GatheringReceiver>(0);
        receiver->onFull = [this] { world->loop().post([] {}); };
        return receiver;
    }

    std::unique_ptr<TransferWorld> world = GetParam()();
    std::unique_ptr<TransferSession> session = world->makeSession();
    std::thread::id mainThread = std::this_thread::get_id();
    std::string small = world->serve(10);
};

TEST_P(TransferSessionContract, tellsProgressAndThenItsEndOnce) {
    for (const ByteCount size : {0, 1, 2'000'003}) {
        SCOPED_TRACE(size);
        const std::string link = world->serve(size);
        const auto attempt = fetch(request(link));
        settle();
        ASSERT_EQ(attempt->ends.size(), 1U);
        const TransferEnd& end = attempt->ends[0];
        EXPECT_FALSE(end.error) << end.error->description;
        EXPECT_EQ(end.received, size);
        EXPECT_EQ(end.head.value().bodyLength, size);
        EXPECT_EQ(end.head->status, 200);
        EXPECT_EQ(end.head->contentEncoding, "");
        EXPECT_NE(end.head->validator, "");
        EXPECT_EQ(attempt->heads->size(), 1U);
        EXPECT_TRUE(attempt->receiver->bytes() == world->content(link));
        EXPECT_TRUE(std::ranges::is_sorted(attempt->progress));
        if (size > 0) EXPECT_EQ(attempt->progress.back(), size);
    }
}

TEST_P(TransferSessionContract, fetchesExactlyTheRangeOfAnUnchangedFile) {
    const std::string link = world->serve(1'000'000);
    const std::string validator = fetch(request(link))->heads->at(0).validator;

    struct Case {
        ByteCount first = 0;
        std::optional<ByteCount> last;
        std::string validator;
        std::optional<ContentRange> sent;  // none: the whole file
    };

    const Case cases[] = {
        {400'000, std::nullopt, validator, ContentRange{400'000, 999'999, 1'000'000}},
        {999'999, std::nullopt, "", ContentRange{999'999, 999'999, 1'000'000}},
        {0, 99, "", ContentRange{0, 99, 1'000'000}},
        {7, 7, validator, ContentRange{7, 7, 1'000'000}},
        {400'000, std::nullopt, "\"another file\"", std::nullopt},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.first);
        TransferRequest asked = request(link, c.first, c.validator);
        asked.last = c.last;
        const auto attempt = fetch(std::move(asked));
        const TransferEnd end = endOf(*attempt);
        EXPECT_FALSE(end.error) << end.error->description;
        EXPECT_EQ(end.head.value().status, c.sent ? 206 : 200);
        EXPECT_EQ(end.head->contentRange, c.sent);
        const ContentRange range = c.sent.value_or(ContentRange{0, 999'999, 1'000'000});
        const auto first = static_cast<std::size_t>(range.first);
        const auto count = static_cast<std::size_t>(range.last - range.first + 1);
        EXPECT_EQ(end.head->bodyLength, range.last - range.first + 1);
        EXPECT_TRUE(attempt->receiver->bytes() == world->content(link).substr(first, count));
    }
}

TEST_P(TransferSessionContract, leavesTheViewOnAnAnswerToItsUser) {
    const std::string link = world->serve(1000);
    for (const int status : {403, 404, 503}) {
        SCOPED_TRACE(status);
        world->setStatus(link, status);
        const auto wanted = fetch(request(link));
        EXPECT_FALSE(endOf(*wanted).error);
        EXPECT_EQ(endOf(*wanted).head.value().status, status);

        TransferRequest unwanted = request(link);
        unwanted.accept = [](const AnswerHead&) -> Result<void> {
            return failure({ErrorCase::httpStatus, "Unwanted."});
        };
        const auto refused = fetch(std::move(unwanted));
        EXPECT_EQ(endOf(*refused).error.value().description, "Unwanted.");
        EXPECT_EQ(endOf(*refused).head.value().status, status);
        EXPECT_EQ(endOf(*refused).received, 0);
        EXPECT_EQ(refused->receiver->bytes(), "");
        EXPECT_EQ(refused->heads->size(), 1U);
    }
}

TEST_P(TransferSessionContract, saysHowFarItCameBeforeTheConnectionBroke) {
    const std::string link = world->serve(1'000'000);
    world->breakNext(link, 400'000);
    const auto broken = fetch(request(link));
    const TransferEnd end = endOf(*broken);
    EXPECT_EQ(end.error.value().code, ErrorCase::transport);
    EXPECT_EQ(end.error->transportFault, TransportFault::brokenOff);
    EXPECT_EQ(end.received, 400'000);
    EXPECT_EQ(broken->progress.back(), 400'000);
    EXPECT_EQ(end.head.value().bodyLength, 1'000'000);

    const auto rest = fetch(request(link, end.received, end.head->validator));
    EXPECT_TRUE(broken->receiver->bytes() + rest->receiver->bytes() == world->content(link));
}

TEST_P(TransferSessionContract, aReceiverThatIsFullForAWhileGetsEveryByteOnce) {
    const std::string link = world->serve(1'000'003);
    const Receiver atOnce = std::make_shared<GatheringReceiver>(0);
    atOnce->onFull = [&] { atOnce->makeRoom(1); };
    const Receiver later = std::make_shared<GatheringReceiver>(0);
    later->onFull = [&] { world->loop().post([&] { later->makeRoom(1); }); };
    for (const Receiver& receiver : {atOnce, later}) {
        const auto attempt = fetch(request(link), receiver);
        EXPECT_FALSE(endOf(*attempt).error) << endOf(*attempt).error->description;
        EXPECT_EQ(endOf(*attempt).received, 1'000'003);
        EXPECT_EQ(attempt->heads->size(), 1U);
        EXPECT_TRUE(receiver->bytes() == world->content(link));
    }
}

TEST_P(TransferSessionContract, endsWhenItsBytesAreRefused) {
    const std::string link = world->serve(1'000'000);
    for (const int pieces : {0, 1}) {
        const auto attempt =
            fetch(request(link), std::make_shared<GatheringReceiver>(pieces, ByteReceiver::Taken::refused));
        attempt->receiver->makeRoom(GatheringReceiver::unlimited);
        settle();
        EXPECT_NE(endOf(*attempt).error.value().description, "");
        EXPECT_EQ(endOf(*attempt).received, static_cast<ByteCount>(attempt->receiver->bytes().size()));
        EXPECT_EQ(attempt->receiver->bytes().empty(), pieces == 0);
    }
    const auto full = begin(request(link), fullReceiver());
    world->waitUntil([&] { return full->receiver->isFull(); });
    full->receiver->refuse();
    EXPECT_NE(endOf(*full).error.value().description, "");
    EXPECT_EQ(endOf(*full).received, 0);
}

TEST_P(TransferSessionContract, aWithdrawnAttemptIsSilent) {
    const std::string link = world->serve(1'000'000);
    world->setRate(link, 1'000'000);
    const auto atOnce = begin(request(link));
    atOnce->operation.reset();
    const auto running = begin(request(link));
    world->waitUntil([&] { return !running->progress.empty(); });
    const std::size_t told = running->told();
    running->operation.reset();
    const auto full = begin(request(link), fullReceiver());
    world->waitUntil([&] { return full->receiver->isFull(); });
    full->operation.reset();
    full->receiver->makeRoom(GatheringReceiver::unlimited);

    settle();
    const std::size_t given = running->receiver->bytes().size();
    settle();
    EXPECT_EQ(running->receiver->bytes().size(), given);
    EXPECT_EQ(full->receiver->bytes(), "");
    EXPECT_EQ(atOnce->told() + full->told(), 0U);
    EXPECT_EQ(running->told(), told);
}

TEST_P(TransferSessionContract, aReportMayWithdrawItsAttemptAndOthers) {
    const std::string link = world->serve(1'000'000);
    Subscription one;
    Subscription other;
    int told = 0;
    const auto withdrawing = [&] {
        TransferRequest made = request(link);
        made.accept = [](const AnswerHead&) { return Result<void>(); };
        made.receiver = std::make_shared<GatheringReceiver>();
        made.onProgress = [&](ByteCount) {
            ++told;
            one.reset();
            other.reset();
        };
        return made;
    };
    one = session->fetch(withdrawing(), [&](const auto&) { ++told; });
    other = session->fetch(withdrawing(), [&](const auto&) { ++told; });
    world->waitUntil([&] { return told > 0; });
    settle();
    EXPECT_EQ(told, 1);
}

TEST_P(TransferSessionContract, subscriptionsAndReceiversOutliveTheSession) {
    const std::string link = world->serve(1'000'000);
    const auto full = begin(request(link), fullReceiver());
    world->waitUntil([&] { return full->receiver->isFull(); });
    const auto beginning = begin(request(link), fullReceiver());
    session.reset();
    session = world->makeSession();
    for (const auto* attempt : {full.get(), beginning.get()}) attempt->receiver->makeRoom(GatheringReceiver::unlimited);
    settle();
    full->operation.reset();
    settle();
    EXPECT_EQ(full->told() + beginning->told(), 0U);
    EXPECT_EQ(full->receiver->bytes() + beginning->receiver->bytes(), "");
}

}  // namespace tovri::test
