#include <future>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include "platform/curl/CurlTransferSession.h"
#include "platform/curl/RecordingDelegate.h"
#include "platform/curl/ResumePoint.h"
#include "platform/curl/ScriptedServer.h"
#include "sandbox/Sandbox.h"
#include "sandbox/faults/FaultSettings.h"
#include "support/SeededRandom.h"
#include "support/TemporaryFolder.h"

namespace tovri::test {
namespace {

using testing::HasSubstr;
using testing::Not;
namespace fs = std::filesystem;

class CurlTransferSessionTest : public testing::Test {
protected:
    CurlTransferSessionTest() {
        sandbox_.start();
        openSession();
    }

    void openSession() {
        session_.reset();
        delegate_.forget();
        session_ = std::make_unique<CurlTransferSession>(
            delegate_, partials_, random_, CurlTransferSession::Options{.idleLimit = std::chrono::seconds(1)});
    }

    sandbox::FileID addFile(std::uint64_t size) {
        return sandbox_.account().addFile(sandbox::rootID, {"file " + std::to_string(size), size});
    }

    [[nodiscard]] std::string link(sandbox::FileID file) const {
        return sandbox_.storageURL() + "/download/" + std::to_string(file) + "?link=secret";
    }

    std::string truth(sandbox::FileID file) {
        const sandbox::Content content = sandbox_.account().find(file)->content();
        std::string bytes(content.size(), '\0');
        content.read(0, bytes);
        return bytes;
    }

    void strike(const std::string& fault) { sandbox_.faults().add(*sandbox::parseFault("storage:*:" + fault)); }

    TransferOutcome finish(TransferID transfer) {
        session_->start(transfer);
        return delegate_.waitForEnd(transfer);
    }

    TransferOutcome fetch(const std::string& url) { return finish(session_->makeTransfer(url)); }

    TransferOutcome resume(const ByteBlob& token) { return finish(session_->resumeTransfer(token)); }

    std::optional<ByteBlob> pause(TransferID transfer) {
        std::promise<std::optional<ByteBlob>> token;
        session_->cancelProducingToken(transfer,
                                       [&](std::optional<ByteBlob> made) { token.set_value(std::move(made)); });
        return token.get_future().get();
    }

    // A file of a million bytes and the token of its transfer, which broke off in the middle.
    std::pair<sandbox::FileID, ByteBlob> brokenTransfer() {
        const auto file = addFile(1'000'000);
        strike("cut=500000,times=1");
        TransferOutcome broken = fetch(link(file));
        return {file, broken.error.value().resumeToken};
    }

    // Once every operation so far has had its effect.
    std::vector<std::string> partials() {
        static_cast<void>(pause(-1));
        std::vector<std::string> names;
        std::error_code notMadeYet;
        for (const auto& entry : fs::directory_iterator(partials_, notMadeYet))
            names.push_back(entry.path().filename());
        return names;
    }

    TemporaryFolder folder_;
    fs::path partials_ = folder_.path / "made" / "partials";
    sandbox::Sandbox sandbox_;
    SeededRandom random_;
    RecordingDelegate delegate_;
    std::unique_ptr<CurlTransferSession> session_;
};

}  // namespace

TEST_F(CurlTransferSessionTest, arrivesByteForByte) {
    for (const std::uint64_t size : {0ULL, 1ULL, 16'384ULL, 20'000'003ULL}) {
        SCOPED_TRACE(size);
        const auto file = addFile(size);
        const TransferID transfer = session_->makeTransfer(link(file));
        const TransferOutcome outcome = finish(transfer);
        ASSERT_FALSE(outcome.error) << outcome.error->description;
        EXPECT_TRUE(outcome.bytes == truth(file));
        const auto length = static_cast<ByteCount>(size);
        EXPECT_EQ(delegate_.progress(transfer), std::pair(length, length));
    }
    EXPECT_FALSE(delegate_.progressWentBack());
    EXPECT_THAT(partials(), testing::IsEmpty());
}

TEST_F(CurlTransferSessionTest, goesOnAtTheByteWhereItBroke) {
    const auto file = addFile(3'000'000);
    strike("cut=1000000,times=2");
    const TransferOutcome first = fetch(link(file));
    const TransferOutcome second = resume(first.error.value().resumeToken);
    openSession();  // as after a restart of the program
    const TransferID third = session_->resumeTransfer(second.error.value().resumeToken);
    const TransferOutcome last = finish(third);
    const auto requests = sandbox_.log().requests();
    ASSERT_EQ(requests.size(), 3U);
    ASSERT_FALSE(last.error) << last.error->description << requests[2].fault;
    EXPECT_TRUE(last.bytes == truth(file));

    EXPECT_EQ(requests[0].range, "");
    EXPECT_EQ(requests[1].range, "bytes=1000000-");
    EXPECT_EQ(requests[2].range, "bytes=2000000-");
    EXPECT_EQ(requests[2].ifRange, sandbox_.account().find(file)->entityTag());
    EXPECT_THAT(partials(), testing::IsEmpty());
}

TEST_F(CurlTransferSessionTest, appendsNothingButTheExactRest) {
    for (const char* fault : {"ignore-range", "range-shift=+1", "range-shift=-1", "change", "status=503", "status=204",
                              "status=206", "expire=410", "announce=+1", "announce=-1"}) {
        SCOPED_TRACE(fault);
        const auto [file, token] = brokenTransfer();
        strike(std::string(fault) + ",times=1");
        const TransferOutcome outcome = resume(token);
        ASSERT_TRUE(outcome.error);
        EXPECT_EQ(outcome.error->resumeToken, "");
        EXPECT_THAT(partials(), testing::IsEmpty());
        EXPECT_TRUE(fetch(link(file)).bytes == truth(file));
    }
}

TEST_F(CurlTransferSessionTest, failsWithAReasonAndATokenWhereThereIsAWay) {
    struct Case {
        const char* fault;
        const char* description;
        bool hasToken;
    };

    const Case cases[] = {
        {"status=404", "HTTP error 404 from put.io.", false},
        {"status=206", "sent a part of the file", false},
        {"drop", "closed the connection without an answer", false},
        {"cut=0", "fewer bytes than it announced", false},  // nothing to go on from
        {"cut=70000", "fewer bytes than it announced", true},
        {"cut=70000,no-validator", "fewer bytes than it announced", false},
        {"cut=70000,weak-validator", "fewer bytes than it announced", false},
        {"announce=+9", "", true},
        {"announce=-9", "more bytes than it announced", false},
        {"stall=70000", "Nothing came from 127.0.0.1 for 1 second", true},
        {"redirect=http://example.com/", "not encrypted", false},
    };
    const auto file = addFile(100'000);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.fault);
        strike(std::string(c.fault) + ",times=1");
        const TransferOutcome outcome = fetch(link(file));
        ASSERT_TRUE(outcome.error);
        EXPECT_THAT(outcome.error->description, HasSubstr(c.description));
        EXPECT_THAT(outcome.error->description, Not(HasSubstr("secret")));
        EXPECT_EQ(!outcome.error->resumeToken.empty(), c.hasToken);
        EXPECT_EQ(partials().size(), c.hasToken ? 1U : 0U);
        session_->discard(outcome.error->resumeToken);
        EXPECT_THAT(partials(), testing::IsEmpty());
    }
}

TEST_F(CurlTransferSessionTest, keepsItsBytesWhenTheConnectionCannotBeMade) {
    const auto [file, token] = brokenTransfer();
    strike("drop,times=1");
    const TransferOutcome outcome = resume(token);
    EXPECT_EQ(outcome.error.value().resumeToken, token);
    EXPECT_TRUE(resume(token).bytes == truth(file));
}

TEST_F(CurlTransferSessionTest, refusesTokensWithoutTheirBytes) {
    const auto [file, token] = brokenTransfer();
    const fs::path partial = partials_ / partials().at(0);
    fs::resize_file(partial, 499'999);
    for (const ByteBlob& bad : {token, token, ByteBlob("garbage"), ByteBlob()}) {
        const TransferOutcome outcome = resume(bad);
        EXPECT_THAT(outcome.error.value().description, HasSubstr("starts over"));
        EXPECT_EQ(outcome.error->resumeToken, "");
        EXPECT_FALSE(fs::exists(partial));  // with the second attempt, the first has removed it
    }
}

TEST_F(CurlTransferSessionTest, hasTheServerConfirmAFileThatIsComplete) {
    const auto [file, token] = brokenTransfer();
    ResumePoint point = ResumePoint::parse(token).value();
    point.offset = point.length - 1;
    std::string bytes = truth(file);
    bytes.back() ^= 1;  // as when the last byte was never asked for
    std::ofstream(partials_ / point.partial.text()) << bytes << "and more";
    EXPECT_TRUE(resume(point.encoded()).bytes == truth(file));
}

TEST_F(CurlTransferSessionTest, pausesWithWhatHasArrived) {
    const auto file = addFile(4'000'000);
    strike("rate=2000000,times=1");
    const TransferID transfer = session_->makeTransfer(link(file));
    session_->start(transfer);
    delegate_.waitForBytes(transfer, 300'000);
    const std::optional<ByteBlob> token = pause(transfer);
    const ResumePoint point = ResumePoint::parse(token.value()).value();
    EXPECT_GE(point.offset, 300'000);
    EXPECT_EQ(static_cast<ByteCount>(fs::file_size(partials_ / point.partial.text())), point.offset);
    EXPECT_EQ(pause(transfer), std::nullopt);  // it has ended

    const TransferID resting = session_->resumeTransfer(*token);
    EXPECT_EQ(pause(resting), token);
    EXPECT_TRUE(resume(*token).bytes == truth(file));
    EXPECT_EQ(delegate_.endings(transfer), 0);
}

TEST_F(CurlTransferSessionTest, endsOnceHoweverItIsTakenBack) {
    const auto file = addFile(300'000);
    for (int round = 0; round < 60; ++round) {
        strike("cut=200000,times=1,after=" + std::to_string(round % 2));
        const TransferID transfer = session_->makeTransfer(link(file));
        session_->start(transfer);
        std::this_thread::sleep_for(std::chrono::microseconds(round * 60));
        std::optional<ByteBlob> token;
        if (round % 3 == 0) token = pause(transfer);
        session_->cancel(transfer);
        static_cast<void>(pause(-1));
        EXPECT_LE(delegate_.endings(transfer), 1);
        if (token) EXPECT_EQ(delegate_.endings(transfer), 0);
        if (token) EXPECT_TRUE(resume(*token).endings == 1);
        sandbox_.faults().clear();
    }
    session_->discardAllBut({});
    EXPECT_THAT(partials(), testing::IsEmpty());
}

TEST_F(CurlTransferSessionTest, keepsOnlyPartialFilesThatAreNamed) {
    const auto [file, token] = brokenTransfer();
    const std::string named = partials().at(0);
    std::ofstream(partials_ / random_.makeUUID().text()) << "of a process that was killed";
    std::ofstream(partials_ / "README") << "not ours";
    strike("rate=50000,times=1");
    const TransferID running = session_->makeTransfer(link(file));
    session_->start(running);
    delegate_.waitForBytes(running, 1);
    session_->discardAllBut({token, "garbage"});
    EXPECT_EQ(partials().size(), 3U);  // the named, the running, the README
    session_.reset();                  // and with it what was running
    std::vector<std::string> left;
    for (const auto& entry : fs::directory_iterator(partials_)) left.push_back(entry.path().filename());
    EXPECT_THAT(left, testing::UnorderedElementsAre(named, "README"));
    EXPECT_EQ(delegate_.endings(running), 0);
}

TEST_F(CurlTransferSessionTest, waitsForOneOfSixConnectionsWithoutLosingPatience) {
    const auto file = addFile(300'000);
    strike("rate=200000");  // each takes longer than the time without a byte that is allowed
    std::vector<TransferID> transfers;
    for (int i = 0; i < 8; ++i) {
        transfers.push_back(session_->makeTransfer(link(file)));
        session_->start(transfers.back());
    }
    for (const TransferID transfer : transfers) {
        const TransferOutcome outcome = delegate_.waitForEnd(transfer);
        EXPECT_FALSE(outcome.error) << outcome.error->description;
        EXPECT_TRUE(outcome.bytes == truth(file));
    }
    EXPECT_EQ(sandbox_.log().statistics().maxConcurrentTransfers, 6U);
}

TEST_F(CurlTransferSessionTest, survivesAFileThatCannotGrow) {
    const auto file = addFile(3'000'000);
    rlimit before{};
    ::getrlimit(RLIMIT_FSIZE, &before);
    const rlimit tight{.rlim_cur = 1'000'000, .rlim_max = before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &tight);
    const TransferOutcome outcome = fetch(link(file));
    ::setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(outcome.error.value().code, ErrorCase::file);
    EXPECT_EQ(ResumePoint::parse(outcome.error->resumeToken).value().offset, 1'000'000);
    EXPECT_TRUE(resume(outcome.error->resumeToken).bytes == truth(file));
}

TEST_F(CurlTransferSessionTest, followsRedirectsAndKeepsTheBytesAsTheyAre) {
    const ScriptedServer server([](const std::string& request) {
        if (request.find("/link") != std::string::npos)
            return "HTTP/1.1 302 Found\r\nLocation: /file\r\nContent-Length: 10\r\n\r\nnot these!";
        return "HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nTransfer-Encoding: "
               "chunked\r\n\r\n5\r\n\x1f\x8b\x08xx\r\n0\r\n\r\n";
    });
    const TransferOutcome outcome = fetch(server.url("/link"));
    ASSERT_FALSE(outcome.error) << outcome.error->description;
    EXPECT_EQ(outcome.bytes, "\x1f\x8b\x08xx");
}

}  // namespace tovri::test
