// What stands on the disk after answers that no decent server gives: the real session and the real disk beneath the
// engine's own checks.
#include <fstream>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "downloads/running/receiving/AnswerCheck.h"
#include "platform/curl/CurlTransferSession.h"
#include "platform/curl/ScriptedServer.h"
#include "platform/posix/files/PosixFileManager.h"
#include "platform/posix/loop/PosixVolumeQueues.h"
#include "support/FakeSleepClock.h"
#include "support/HandRunLoop.h"
#include "support/TemporaryFolder.h"

namespace tovri::test {
namespace {

struct Outcome {
    std::string bytes;  // in the partial file
    std::string error;
};

class ArrivingBytesTest : public testing::Test {
public:
    // One attempt at what is missing of a file whose first bytes are there.
    Outcome receive(const ExpectedAnswer& expected, const std::string& before, const std::string& reply) {
        const ScriptedServer server([&](const std::string&) { return reply; });
        const TemporaryFolder folder;
        const auto path = folder.path / "partial";
        std::ofstream(path) << before;
        if (before.empty()) std::filesystem::remove(path);
        const auto partial =
            std::make_shared<PartialFile>(PartialFile::Place{files_, volumes_, "volume", path},
                                          ArrivedBytes{.length = static_cast<ByteCount>(before.size())});
        if (!before.empty()) EXPECT_TRUE(partial->reopen());
        const TransferEnd end = fetch(server.url("/file"), expected, partial);
        Outcome outcome;
        if (end.error) outcome.error = end.error->description;
        if (const auto refused = partial->error()) outcome.error = refused->description;
        EXPECT_TRUE(volumes_.finish(std::chrono::seconds(20)));
        std::ostringstream bytes;
        bytes << std::ifstream(path).rdbuf();
        outcome.bytes = bytes.str();
        return outcome;
    }

private:
    TransferEnd fetch(const std::string& url, const ExpectedAnswer& expected,
                      const std::shared_ptr<PartialFile>& partial) {
        TransferRequest request;
        request.url = url;
        request.first = expected.offset;
        request.receiver = std::make_shared<PartReceiver>(partial, partial->share().value());
        request.accept = [&](const AnswerHead& head) -> Result<void> {
            Result<AnnouncedFile> announced = checkAnswer(expected, head);
            if (!announced) return failure(announced);
            partial->announce(std::move(*announced));
            return {};
        };
        std::optional<TransferEnd> ended;
        const Subscription attempt =
            session_.fetch(std::move(request), [&](TransferEnd end) { ended = std::move(end); });
        while (!ended && loop_.waitForPost()) loop_.runPosted();
        return ended.value();
    }

    HandRunLoop loop_;
    PosixFileManager files_;
    PosixVolumeQueues volumes_;
    FakeSleepClock sleepClock_;
    CurlTransferSession session_{loop_, sleepClock_};
};

struct Case {
    const char* what;
    std::string reply;  // without the status line's end of the head
    const char* bytes;
    const char* error;  // a part of it; empty for none
};

TEST_F(ArrivingBytesTest, ofAWholeFileAreNeverMoreThanAnnounced) {
    const Case cases[] = {
        {"as announced", "200 OK\r\nContent-Length: 5\r\n\r\nhello", "hello", ""},
        {"in the form that was asked for", "200 OK\r\nContent-Encoding: identity\r\nContent-Length: 5\r\n\r\nhello",
         "hello", ""},
        {"unannounced, as listed", "200 OK\r\n\r\nhello", "hello", ""},
        {"more than announced", "200 OK\r\nContent-Length: 5\r\n\r\nhelloMORE", "hello", "more bytes"},
        {"more than listed, to the end of the connection", "200 OK\r\n\r\nhelloMORE", "", "more bytes"},
        {"more than listed, in pieces",
         "200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nhello\r\n4\r\nMORE\r\n0\r\n\r\n", "hello", "more bytes"},
        {"packed", "200 OK\r\nContent-Encoding: gzip\r\nContent-Length: 5\r\n\r\nhello", "", "in another form"},
        {"packed twice", "200 OK\r\nContent-Encoding: gzip, br\r\n\r\nhello", "", "in another form"},
        {"a part", "206 Partial Content\r\nContent-Range: bytes 0-4/9\r\nContent-Length: 5\r\n\r\nhello", "",
         "a part of the file"},
        {"an error page", "404 Not Found\r\nContent-Length: 5\r\n\r\nsorry", "", "HTTP error 404"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        ExpectedAnswer expected;
        expected.listedSize = 5;
        const Outcome outcome = receive(expected, "", "HTTP/1.1 " + c.reply);
        EXPECT_EQ(outcome.bytes, c.bytes);
        EXPECT_THAT(outcome.error, testing::HasSubstr(c.error));
        EXPECT_EQ(outcome.error.empty(), *c.error == '\0') << outcome.error;
    }
}

TEST_F(ArrivingBytesTest, ofTheRestAreThoseThatFollow) {
    const std::string length = "\r\nContent-Length: 3\r\nETag: \"a\"\r\n\r\nllo";
    const Case cases[] = {
        {"as asked", "206 P\r\nContent-Range: bytes 2-4/5" + length, "hello", ""},
        {"another first byte", "206 P\r\nContent-Range: bytes 1-3/5" + length, "he", "starts over"},
        {"another total", "206 P\r\nContent-Range: bytes 2-4/6" + length, "he", "starts over"},
        {"no total", "206 P\r\nContent-Range: bytes 2-4/*" + length, "he", "starts over"},
        {"no range", "206 P" + length, "he", "starts over"},
        {"not a number", "206 P\r\nContent-Range: bytes two-4/5" + length, "he", "starts over"},
        {"several parts", "206 P\r\nContent-Type: multipart/byteranges; boundary=x" + length, "he", "starts over"},
        {"the whole file", "200 OK\r\nETag: \"a\"\r\nContent-Length: 5\r\n\r\nhello", "he", "starts over"},
        {"another file's", "206 P\r\nContent-Range: bytes 2-4/5\r\nContent-Length: 3\r\nETag: \"b\"\r\n\r\nllo", "he",
         "starts over"},
        {"packed", "206 P\r\nContent-Range: bytes 2-4/5\r\nContent-Encoding: gzip" + length, "he", "in another form"},
        {"longer than its range", "206 P\r\nContent-Range: bytes 2-4/5\r\nContent-Length: 7\r\n\r\nlloMORE", "he",
         "starts over"},
        {"longer than its range, unannounced",
         "206 P\r\nContent-Range: bytes 2-4/5\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nllo\r\n4\r\nMORE\r\n0\r\n\r\n",
         "hello", "more bytes"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const ExpectedAnswer expected{
            .offset = 2, .length = 5, .validator = "\"a\"", .listedSize = 5, .hasListedChecksum = false};
        const Outcome outcome = receive(expected, "he", "HTTP/1.1 " + c.reply);
        EXPECT_EQ(outcome.bytes, c.bytes);
        EXPECT_THAT(outcome.error, testing::HasSubstr(c.error));
        EXPECT_EQ(outcome.error.empty(), *c.error == '\0') << outcome.error;
    }
}

}  // namespace
}  // namespace tovri::test
