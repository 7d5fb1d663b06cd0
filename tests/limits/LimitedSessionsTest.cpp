#include <gtest/gtest.h>

#include "limits/LimitedSessions.h"
#include "platform/GatheringReceiver.h"
#include "support/ScriptedSessions.h"
#include "support/SimulatedTransferSession.h"

namespace tovri::test {
namespace {

using namespace std::chrono_literals;

class LimitedTransferSessionTest : public testing::Test {
protected:
    LimitedTransferSessionTest() {
        for (int i = 0; i < 100'000; ++i) content_ += static_cast<char>(i * 7919 >> 3);
        storage_.links[url_].content = content_;
        limit_.set(BytesPerSecond{10'000});
    }

    void begin(const std::shared_ptr<GatheringReceiver>& receiver) {
        TransferRequest request;
        request.url = url_;
        request.accept = [](const AnswerHead&) { return Result<void>(); };
        request.receiver = receiver;
        operation_ = session_.fetch(std::move(request), [this](TransferEnd end) { end_ = end; });
    }

    const std::string url_ = "https://storage/file";
    std::string content_;
    VirtualLoop loop_;
    SimulatedStorage storage_;
    SimulatedTransferSession beneath_{loop_, storage_};
    SpeedLimit limit_{loop_};
    LimitedTransferSession session_{beneath_, limit_};
    std::optional<TransferEnd> end_;
    Subscription operation_;
};

TEST_F(LimitedTransferSessionTest, handsOnEveryByteOnceInItsTime) {
    const auto receiver = std::make_shared<GatheringReceiver>();
    begin(receiver);
    loop_.advance(5s);
    EXPECT_NEAR(static_cast<double>(receiver->bytes().size()), 50'000, 1'000);
    EXPECT_TRUE(loop_.runUntil([&] { return end_.has_value(); }, 6s));
    EXPECT_EQ(receiver->bytes(), content_);
    EXPECT_EQ(end_->received, 100'000);
    EXPECT_FALSE(end_->error);
}

TEST_F(LimitedTransferSessionTest, waitsForItsReceiverToo) {
    const auto receiver = std::make_shared<GatheringReceiver>(3);
    begin(receiver);
    loop_.advance(60s);
    EXPECT_TRUE(receiver->isFull());
    while (!end_) {
        receiver->makeRoom(2);
        loop_.advance(1s);
    }
    EXPECT_EQ(receiver->bytes(), content_);
    EXPECT_EQ(end_->received, 100'000);
}

// A piece of which the share lets through the first part only has moved as far as that.
TEST_F(LimitedTransferSessionTest, countsWhatWasHandedOnWhenItIsRefusedOrBreaks) {
    const auto receiver = std::make_shared<GatheringReceiver>();
    begin(receiver);
    loop_.advance(1s);
    receiver->refuse();
    EXPECT_TRUE(loop_.runUntil([&] { return end_.has_value(); }, 1s));
    EXPECT_TRUE(end_->error);
    EXPECT_GT(end_->received, 5'000);
    EXPECT_EQ(end_->received, static_cast<ByteCount>(receiver->bytes().size()));
    EXPECT_EQ(receiver->bytes(), content_.substr(0, receiver->bytes().size()));
}

TEST_F(LimitedTransferSessionTest, isAsFastAsBytesComeOnceTheLimitHasGone) {
    const auto receiver = std::make_shared<GatheringReceiver>();
    begin(receiver);
    loop_.advance(1s);
    EXPECT_TRUE(session_.isLimited());
    limit_.set(std::nullopt);
    EXPECT_FALSE(session_.isLimited());
    EXPECT_TRUE(loop_.runUntil([&] { return end_.has_value(); }, 1s));
    EXPECT_EQ(receiver->bytes(), content_);
}

TEST(LimitedHTTPSession, limitsUploadsOfFilesAlone) {
    VirtualLoop loop;
    ScriptedHTTPSession beneath(loop);
    SpeedLimit limit(loop);
    limit.set(BytesPerSecond{1000});
    LimitedHTTPSession session(beneath, limit);
    HTTPRequest asking;
    asking.body = "question";
    HTTPRequest uploading;
    uploading.bodyFile = "/file";
    const Subscription first = session.send(asking, [](const auto&) {});
    const Subscription second = session.send(uploading, [](const auto&) {});
    EXPECT_FALSE(beneath.requests.at(0).bodyAllowance);
    ASSERT_TRUE(beneath.requests.at(1).bodyAllowance);
    EXPECT_EQ(beneath.requests.at(1).bodyAllowance->take(10), 0);
}

}  // namespace
}  // namespace tovri::test
