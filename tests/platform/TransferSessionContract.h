#pragma once

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/TransferSession.h"

namespace tovri::test {

// Sessions, and a far side that serves files and misbehaves.
class TransferWorld {
public:
    virtual ~TransferWorld() = default;

    // One at a time; the next one finds the partial files of the one before.
    [[nodiscard]] virtual std::unique_ptr<TransferSession> makeSession(TransferDelegate& delegate) = 0;

    // A link to a new file, and the bytes that it serves now.
    [[nodiscard]] virtual std::string serve(ByteCount size) = 0;
    [[nodiscard]] virtual std::string content(const std::string& link) = 0;

    // The next transfer's connection breaks after so many bytes, or its file has become another one of the same size.
    virtual void breakNext(const std::string& link, ByteCount after) = 0;
    virtual void changeNext(const std::string& link) = 0;

    // What the link answers, and how many bytes in a second, from now on.
    virtual void setStatus(const std::string& link, int status) = 0;
    virtual void setRate(const std::string& link, ByteCount rate) = 0;

    [[nodiscard]] virtual std::size_t partialFiles() = 0;
    [[nodiscard]] virtual std::size_t mostConnections() = 0;

    // A finished file's bytes. Any thread.
    [[nodiscard]] virtual std::string read(const std::filesystem::path& file) = 0;

    virtual void waitUntil(const std::function<bool()>& condition) = 0;
};

// What a session reported about one transfer.
struct TransferReport {
    std::vector<ByteCount> written;
    ByteCount expected = 0;
    std::vector<std::string> finished;  // their bytes
    std::vector<Error> failures;
    bool isToldAfterItsEnd = false;

    [[nodiscard]] std::size_t ends() const { return finished.size() + failures.size(); }
};

class TransferReports final : public TransferDelegate {
public:
    explicit TransferReports(TransferWorld& world) : world_(world) {}

    void transferDidWrite(TransferID transfer, ByteCount written, ByteCount expected) override {
        const std::scoped_lock lock(access_);
        TransferReport& report = reports_[transfer];
        report.isToldAfterItsEnd |= report.ends() > 0;
        report.written.push_back(written);
        report.expected = expected;
    }

    void transferDidFinish(TransferID transfer, const std::filesystem::path& file) override {
        std::string bytes = world_.read(file);
        const std::scoped_lock lock(access_);
        reports_[transfer].finished.push_back(std::move(bytes));
    }

    void transferDidFail(TransferID transfer, Error error) override {
        const std::scoped_lock lock(access_);
        reports_[transfer].failures.push_back(std::move(error));
    }

    [[nodiscard]] TransferReport of(TransferID transfer) {
        const std::scoped_lock lock(access_);
        return reports_[transfer];
    }

    // For the next session, which may give the same numbers again.
    void forget() { reports_.clear(); }

private:
    TransferWorld& world_;
    std::mutex access_;
    std::map<TransferID, TransferReport> reports_;
};

class TransferSessionContract : public testing::TestWithParam<std::function<std::unique_ptr<TransferWorld>()>> {
public:
    using Token = TransferSession::ResumeToken;

    // As a new process.
    void restart() {
        session.reset();
        reports.forget();
        session = world->makeSession(reports);
    }

    TransferReport end(TransferID transfer) {
        world->waitUntil([&] { return reports.of(transfer).ends() > 0; });
        return reports.of(transfer);
    }

    TransferReport run(TransferID transfer) {
        session->start(transfer);
        return end(transfer);
    }

    TransferReport fetch(const std::string& link) { return run(session->makeTransfer(link)); }

    // Running, with some of its bytes on the disk.
    TransferID running(const std::string& link) {
        const TransferID transfer = session->makeTransfer(link);
        session->start(transfer);
        world->waitUntil([&] { return !reports.of(transfer).written.empty(); });
        return transfer;
    }

    std::optional<Token> pause(TransferID transfer) {
        std::mutex access;
        std::vector<std::optional<Token>> received;
        session->cancelProducingToken(transfer, [&](std::optional<Token> token) {
            const std::scoped_lock lock(access);
            received.push_back(std::move(token));
        });
        world->waitUntil([&] {
            const std::scoped_lock lock(access);
            return !received.empty();
        });
        return received.front();
    }

    // The token of a transfer that broke after so many bytes.
    Token brokenAfter(ByteCount count, const std::string& link) {
        world->breakNext(link, count);
        const TransferReport broken = fetch(link);
        return broken.failures.empty() ? Token() : broken.failures.front().resumeToken;
    }

    // Once every operation so far has had its effect.
    std::size_t partialFiles() {
        static_cast<void>(pause(-1));
        return world->partialFiles();
    }

    std::unique_ptr<TransferWorld> world = GetParam()();
    TransferReports reports{*world};
    std::unique_ptr<TransferSession> session = world->makeSession(reports);
};

TEST_P(TransferSessionContract, tellsProgressAndThenItsEndOnce) {
    for (const ByteCount size : {ByteCount(0), ByteCount(1), ByteCount(2'000'003)}) {
        SCOPED_TRACE(size);
        const std::string link = world->serve(size);
        const TransferReport report = fetch(link);
        ASSERT_EQ(report.ends(), 1U);
        ASSERT_EQ(report.finished.size(), 1U);
        EXPECT_TRUE(report.finished.front() == world->content(link));
        EXPECT_TRUE(std::ranges::is_sorted(report.written));
        if (size > 0) {
            EXPECT_EQ(report.written.back(), size);
            EXPECT_EQ(report.expected, size);
        }
        EXPECT_EQ(partialFiles(), 0U);  // the file is gone with its report
        EXPECT_FALSE(report.isToldAfterItsEnd);
    }
}

TEST_P(TransferSessionContract, aStatusThatIsNoSuccessIsAFailure) {
    const std::string link = world->serve(1000);
    for (const int status : {403, 404, 410, 500, 503}) {
        SCOPED_TRACE(status);
        world->setStatus(link, status);
        const TransferReport report = fetch(link);
        ASSERT_EQ(report.ends(), 1U);
        ASSERT_EQ(report.failures.size(), 1U);
        const Error& error = report.failures.front();
        EXPECT_EQ(error.code, ErrorCase::httpStatus);
        EXPECT_EQ(error.httpStatus, status);
        EXPECT_EQ(error.description, "HTTP error " + std::to_string(status) + " from put.io.");
        EXPECT_EQ(error.resumeToken, "");
        EXPECT_EQ(partialFiles(), 0U);
    }
    world->setStatus(link, 200);
    EXPECT_EQ(fetch(link).finished.size(), 1U);
}

TEST_P(TransferSessionContract, goesOnWhereItBrokeInTheNextProcess) {
    const std::string link = world->serve(1'000'000);
    const Token token = brokenAfter(400'000, link);
    ASSERT_NE(token, "");
    restart();
    EXPECT_EQ(partialFiles(), 1U);
    const TransferReport report = run(session->resumeTransfer(token));
    ASSERT_EQ(report.finished.size(), 1U);
    EXPECT_TRUE(report.finished.front() == world->content(link));
    EXPECT_EQ(report.failures.size(), 0U);
    EXPECT_GE(report.written.front(), 400'000);  // counts from the file's first byte
    EXPECT_EQ(report.written.back(), 1'000'000);
    EXPECT_EQ(report.expected, 1'000'000);
    EXPECT_EQ(partialFiles(), 0U);
}

TEST_P(TransferSessionContract, goesOnWithNothingButTheSameContent) {
    const std::string link = world->serve(1'000'000);
    const Token token = brokenAfter(400'000, link);
    world->changeNext(link);
    for (const Token& bad : {token, Token("garbage"), Token()}) {
        const TransferReport report = run(session->resumeTransfer(bad));
        ASSERT_EQ(report.ends(), 1U);
        ASSERT_EQ(report.failures.size(), 1U);
        EXPECT_EQ(report.failures.front().resumeToken, "");  // so that the next attempt begins anew
    }
    const TransferReport anew = fetch(link);
    ASSERT_EQ(anew.finished.size(), 1U);
    EXPECT_TRUE(anew.finished.front() == world->content(link));
}

TEST_P(TransferSessionContract, pausingIsSilentAndKeepsEveryByte) {
    const std::string link = world->serve(1'000'000);
    world->setRate(link, 1'000'000);
    const TransferID transfer = running(link);
    const std::optional<Token> token = pause(transfer);
    ASSERT_TRUE(token);
    EXPECT_EQ(pause(transfer), std::nullopt);                     // it has ended
    EXPECT_EQ(pause(session->resumeTransfer(*token)), token);     // at rest
    EXPECT_EQ(pause(session->makeTransfer(link)), std::nullopt);  // nothing has arrived
    EXPECT_EQ(partialFiles(), 1U);

    world->setRate(link, 50'000'000);
    const TransferReport resumed = run(session->resumeTransfer(*token));
    ASSERT_EQ(resumed.finished.size(), 1U);
    EXPECT_TRUE(resumed.finished.front() == world->content(link));
    EXPECT_EQ(reports.of(transfer).ends(), 0U);
    EXPECT_EQ(partialFiles(), 0U);
}

TEST_P(TransferSessionContract, cancellingIsSilentAndLeavesNothing) {
    const std::string link = world->serve(1'000'000);
    world->setRate(link, 1'000'000);
    const TransferID started = running(link);
    const TransferID resting = session->makeTransfer(link);
    for (const TransferID transfer : {started, resting, started}) session->cancel(transfer);
    session->start(resting);  // too late
    EXPECT_EQ(pause(started), std::nullopt);
    EXPECT_EQ(partialFiles(), 0U);

    world->setRate(link, 50'000'000);
    const TransferID whole = session->makeTransfer(link);
    EXPECT_EQ(run(whole).finished.size(), 1U);
    session->cancel(whole);
    static_cast<void>(pause(whole));
    EXPECT_EQ(reports.of(whole).ends(), 1U);
    EXPECT_EQ(reports.of(started).ends() + reports.of(resting).ends(), 0U);
}

TEST_P(TransferSessionContract, keepsOnlyPartialFilesThatAreNeeded) {
    const std::string link = world->serve(1'000'000);
    const Token named = brokenAfter(300'000, link);
    const Token forgotten = brokenAfter(400'000, link);
    const Token dropped = brokenAfter(500'000, link);
    world->setRate(link, 1'000'000);
    const TransferID transfer = running(link);
    EXPECT_EQ(partialFiles(), 4U);
    session->discard(dropped);
    session->discard("garbage");
    EXPECT_EQ(partialFiles(), 3U);
    session->discardAllBut({named, "garbage"});
    EXPECT_EQ(partialFiles(), 2U);
    EXPECT_EQ(end(transfer).finished.size(), 1U);
    EXPECT_EQ(run(session->resumeTransfer(forgotten)).failures.size(), 1U);
    EXPECT_EQ(run(session->resumeTransfer(named)).finished.size(), 1U);
    EXPECT_EQ(partialFiles(), 0U);
}

TEST_P(TransferSessionContract, hasNoMoreThanSixConnections) {
    const std::string link = world->serve(200'000);
    world->setRate(link, 400'000);
    std::vector<TransferID> transfers;
    for (int i = 0; i < 8; ++i) transfers.push_back(session->makeTransfer(link));
    for (const TransferID transfer : transfers) session->start(transfer);
    session->cancel(transfers.front());
    for (std::size_t i = 1; i < transfers.size(); ++i) EXPECT_EQ(end(transfers[i]).finished.size(), 1U);
    EXPECT_EQ(world->mostConnections(), 6U);
}

TEST_P(TransferSessionContract, reportsNothingOnceItIsGone) {
    const std::string link = world->serve(1'000'000);
    world->setRate(link, 1'000'000);
    const TransferID first = running(link);
    session.reset();
    const std::size_t told = reports.of(first).written.size();
    session = world->makeSession(reports);
    world->setRate(link, 50'000'000);
    static_cast<void>(session->makeTransfer(link));  // may be called as the one before
    const TransferID other = session->makeTransfer(link);
    EXPECT_EQ(run(other).finished.size(), 1U);
    EXPECT_EQ(reports.of(first).written.size(), told);
    EXPECT_EQ(reports.of(first).ends(), 0U);
}

}  // namespace tovri::test
