#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "platform/GatheringReceiver.h"
#include "platform/curl/CurlHTTPSession.h"
#include "platform/curl/CurlTransferSession.h"
#include "sandbox/Sandbox.h"
#include "sandbox/faults/FaultSettings.h"
#include "support/ComesTrue.h"
#include "support/FakeSleepClock.h"
#include "support/HandRunLoop.h"
#include "support/TemporaryFolder.h"

namespace {

std::atomic<int> socketsToRefuse = 0;  // as if there were no file handles left

}  // namespace

// In the place of the system's.
extern "C" int socket(int domain, int type, int protocol) noexcept {
    if (domain == AF_INET && socketsToRefuse > 0 && socketsToRefuse-- > 0) {
        errno = EMFILE;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_socket, domain, type, protocol));
}

namespace tovri::test {
namespace {

using Receiver = std::shared_ptr<GatheringReceiver>;

sandbox::SandboxSettings settingsFor(bool tls) {
    sandbox::SandboxSettings settings;
    settings.tls = tls;
    return settings;
}

// Two servers with the same small files; those with an even number lie at the second one, where the first sends on.
class TwoHosts {
public:
    explicit TwoHosts(bool tls) : first_(settingsFor(tls)), second_(settingsFor(tls)) {
        for (int i = 0; i < count; ++i) {
            const std::string name = "file " + std::to_string(i);
            files_.push_back(first_.account().addFile(sandbox::rootID, {name, 20'000}));
            second_.account().addFile(sandbox::rootID, {name, 20'000});
        }
        first_.start();
        second_.start();
        for (int i = 0; i < count; i += 2) {
            const std::string path = this->path(i);
            const std::string target = second_.storageURL() + path;
            std::string fault = "storage:";
            fault.append(path).append(":redirect=").append(target);
            first_.faults().add(*sandbox::parseFault(fault));
        }
        const std::string bundle = (folder_.path / "ca.pem").string();
        std::ofstream(bundle) << first_.certificatePem() << second_.certificatePem();
        if (tls) ::setenv("CURL_CA_BUNDLE", bundle.c_str(), 1);
    }

    TwoHosts(const TwoHosts&) = delete;
    TwoHosts& operator=(const TwoHosts&) = delete;

    ~TwoHosts() { ::unsetenv("CURL_CA_BUNDLE"); }

    [[nodiscard]] sandbox::Sandbox& first() { return first_; }

    [[nodiscard]] std::string url(int number) const { return first_.storageURL() + path(number); }

    // How many connections there were to each, so far.
    [[nodiscard]] std::pair<std::size_t, std::size_t> connections() {
        return {clientPorts(first_).size(), clientPorts(second_).size()};
    }

    static constexpr int count = 30;

private:
    [[nodiscard]] std::string path(int number) const {
        return "/download/" + std::to_string(files_.at(static_cast<std::size_t>(number)));
    }

    static std::set<int> clientPorts(sandbox::Sandbox& sandbox) {
        std::set<int> ports;
        for (const auto& request : sandbox.log().requests()) ports.insert(request.clientPort);
        return ports;
    }

    TemporaryFolder folder_;
    sandbox::Sandbox first_;
    sandbox::Sandbox second_;
    std::vector<sandbox::FileID> files_;
};

class CurlConnectionsTest : public testing::Test {
protected:
    struct Attempt {
        Receiver receiver;
        std::optional<TransferEnd> end;
        Subscription operation;
    };

    std::unique_ptr<Attempt> begin(const std::string& url, Receiver receiver = std::make_shared<GatheringReceiver>()) {
        auto attempt = std::make_unique<Attempt>();
        attempt->receiver = receiver;
        TransferRequest request;
        request.url = url;
        request.idleLimit = patience;
        request.accept = [](const AnswerHead& head) -> Result<void> {
            if (head.status == 200) return {};
            return failure(Error(ErrorCase::httpStatus, "not wanted"));
        };
        request.receiver = std::move(receiver);
        attempt->operation = session_->fetch(
            std::move(request), [attempt = attempt.get()](TransferEnd end) { attempt->end = std::move(end); });
        return attempt;
    }

    const TransferEnd& endOf(const Attempt& attempt) {
        waitUntil([&] { return attempt.end.has_value(); });
        return attempt.end.value();
    }

    std::unique_ptr<Attempt> beginFull(const std::string& url) {
        auto receiver = std::make_shared<GatheringReceiver>(0);
        receiver->onFull = [this] { loop_.post([] {}); };
        return begin(url, std::move(receiver));
    }

    // Six transfers at the same time from each host; the second first, as the way there leads over the other.
    void occupyAll(TwoHosts& hosts) {
        std::vector<std::unique_ptr<Attempt>> full;
        for (const int number : {0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1}) {
            if (number == 1) waitForFull(full);
            full.push_back(beginFull(hosts.url(number)));
        }
        waitForFull(full);
        for (const auto& attempt : full) attempt->receiver->makeRoom(GatheringReceiver::unlimited);
        for (const auto& attempt : full) EXPECT_FALSE(endOf(*attempt).error);
    }

    void waitForFull(const std::vector<std::unique_ptr<Attempt>>& attempts) {
        for (const auto& attempt : attempts) waitUntil([&] { return attempt->receiver->isFull(); });
    }

    void waitUntil(const std::function<bool()>& condition) {
        while (!condition() && loop_.waitForPost()) loop_.runPosted();
    }

    void renewSession() { session_ = std::make_unique<CurlTransferSession>(loop_, sleepClock_); }

    HandRunLoop loop_;
    FakeSleepClock sleepClock_;
    std::unique_ptr<CurlTransferSession> session_ = std::make_unique<CurlTransferSession>(loop_, sleepClock_);
};

// The sockets of this process that are connected to the port.
std::vector<int> socketsTo(int port) {
    std::vector<int> found;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        const int socket = std::atoi(entry.path().filename().c_str());
        sockaddr_in peer{};
        socklen_t size = sizeof peer;
        if (::getpeername(socket, reinterpret_cast<sockaddr*>(&peer), &size) == 0 && ntohs(peer.sin_port) == port)
            found.push_back(socket);
    }
    return found;
}

int optionOf(int socket, int level, int option) {
    int value = -1;
    socklen_t size = sizeof value;
    ::getsockopt(socket, level, option, &value, &size);
    return value;
}

}  // namespace

TEST_F(CurlConnectionsTest, areKeptAcrossFilesAndHosts) {
    for (const bool tls : {false, true}) {
        SCOPED_TRACE(tls);
        TwoHosts hosts(tls);
        renewSession();
        for (int i = 0; i < TwoHosts::count; ++i) EXPECT_FALSE(endOf(*begin(hosts.url(i))).error);
        EXPECT_EQ(hosts.connections(), std::pair(1UL, 1UL)) << "one file after the other";

        occupyAll(hosts);
        EXPECT_EQ(hosts.connections(), std::pair(6UL, 6UL)) << "all at once";
        for (int i = 0; i < TwoHosts::count; ++i) EXPECT_FALSE(endOf(*begin(hosts.url(i))).error);
        occupyAll(hosts);
        EXPECT_EQ(hosts.connections(), std::pair(6UL, 6UL)) << "all at once, after a lull";
    }
}

TEST_F(CurlConnectionsTest, outliveAnswersThatNobodyWants) {
    TwoHosts hosts(false);
    hosts.first().faults().clear();
    hosts.first().faults().add(*sandbox::parseFault("storage:*:status=503,body=html,times=10"));
    for (int i = 0; i < 10; ++i) EXPECT_EQ(endOf(*begin(hosts.url(i))).error.value().description, "not wanted");
    for (int i = 0; i < 10; ++i) EXPECT_FALSE(endOf(*begin(hosts.url(i))).error);
    EXPECT_EQ(hosts.connections().first, 1U);

    std::vector<std::unique_ptr<Attempt>> full;
    for (int i = 0; i < 6; ++i) full.push_back(beginFull(hosts.url(i)));
    waitForFull(full);
    EXPECT_EQ(hosts.connections().first, 6U);
    full.pop_back();  // taken back, with its connection alone
    for (const auto& attempt : full) attempt->receiver->makeRoom(GatheringReceiver::unlimited);
    for (const auto& attempt : full) EXPECT_FALSE(endOf(*attempt).error);
    for (int i = 0; i < 10; ++i) EXPECT_FALSE(endOf(*begin(hosts.url(i))).error);
    EXPECT_EQ(hosts.connections().first, 6U);
}

TEST_F(CurlConnectionsTest, areReplacedAfterTheMachineSlept) {
    TwoHosts hosts(false);
    EXPECT_FALSE(endOf(*begin(hosts.url(1))).error);
    sleepClock_.sleep(std::chrono::milliseconds(20));  // two readings never agree to the nanosecond
    EXPECT_FALSE(endOf(*begin(hosts.url(1))).error);
    EXPECT_EQ(hosts.connections().first, 1U);
    sleepClock_.sleep(std::chrono::minutes(1));
    EXPECT_FALSE(endOf(*begin(hosts.url(1))).error);
    EXPECT_EQ(hosts.connections().first, 2U) << "kept over the sleep";

    std::vector<std::unique_ptr<Attempt>> full;
    for (int i = 0; i < 6; ++i) full.push_back(beginFull(hosts.url(1)));
    waitForFull(full);
    const auto waiting = begin(hosts.url(1));
    sleepClock_.sleep(std::chrono::hours(8));
    for (const auto& attempt : full) {
        const TransferEnd& end = endOf(*attempt);
        EXPECT_EQ(end.error.value().code, ErrorCase::transport);
        EXPECT_EQ(end.error->transportFault, TransportFault::machineSlept);
    }
    EXPECT_FALSE(endOf(*waiting).error) << "it had no connection to lose";
}

TEST_F(CurlConnectionsTest, beginWithTheSessionOfAnEarlierOne) {
    TwoHosts hosts(true);
    renewSession();
    EXPECT_FALSE(endOf(*begin(hosts.url(1))).error);
    EXPECT_EQ(hosts.first().resumedSessions(), 0);
    std::vector<std::unique_ptr<Attempt>> full;
    for (int i = 0; i < 6; ++i) {
        full.push_back(beginFull(hosts.url(1)));
        waitForFull(full);  // what a session goes on with serves once, and new ones come with the answer
        EXPECT_EQ(hosts.first().resumedSessions(), i) << "the first has the connection that was kept";
    }
}

TEST_F(CurlConnectionsTest, makeWayWhenHandlesRunOut) {
    TwoHosts first(false);
    TwoHosts second(false);
    std::vector<std::unique_ptr<Attempt>> full;
    for (int i = 0; i < 6; ++i) full.push_back(beginFull(first.url(1)));
    waitForFull(full);
    socketsToRefuse = 1;
    EXPECT_THAT(endOf(*begin(second.url(1))).error.value().description, testing::HasSubstr("no file handle left"));
    for (const auto& attempt : full) attempt->receiver->makeRoom(GatheringReceiver::unlimited);
    for (const auto& attempt : full) EXPECT_FALSE(endOf(*attempt).error);

    socketsToRefuse = 2;
    EXPECT_FALSE(endOf(*begin(second.url(1))).error);
    const std::string url = first.first().storageURL();
    EXPECT_EQ(socketsTo(std::atoi(url.c_str() + url.rfind(':') + 1)).size(), 4U) << "two made way";
}

TEST_F(CurlConnectionsTest, areProbedWhileTheyAreQuiet) {
    TwoHosts hosts(false);
    EXPECT_FALSE(endOf(*begin(hosts.url(1))).error);
    const std::string url = hosts.first().storageURL();
    const std::vector<int> kept = socketsTo(std::atoi(url.c_str() + url.rfind(':') + 1));
    ASSERT_EQ(kept.size(), 1U);
    EXPECT_EQ(optionOf(kept[0], SOL_SOCKET, SO_KEEPALIVE), 1);
    EXPECT_EQ(optionOf(kept[0], IPPROTO_TCP, TCP_KEEPIDLE), 15);
    EXPECT_EQ(optionOf(kept[0], IPPROTO_TCP, TCP_KEEPINTVL), 5);
    EXPECT_EQ(optionOf(kept[0], IPPROTO_TCP, TCP_KEEPCNT), 3);
}

// The library by itself sends a request again when a kept connection ends without an answer.
TEST_F(CurlConnectionsTest, thatEndCarryNoCommandTwice) {
    for (const bool isCommand : {false, true}) {
        SCOPED_TRACE(isCommand);
        sandbox::Sandbox sandbox;
        sandbox.start();
        CurlHTTPSession session(loop_, sleepClock_);
        const auto ask = [&](const std::string& method) {
            std::optional<Result<HTTPResponse>> answer;
            HTTPRequest request;
            request.method = method;
            request.url = sandbox.apiURL() + "/v2/files/delete";
            const Subscription operation =
                session.send(std::move(request), [&](auto result) { answer = std::move(result); });
            waitUntil([&] { return answer.has_value(); });
            return answer.value();
        };
        EXPECT_TRUE(ask("GET"));
        sandbox.faults().add(*sandbox::parseFault("api:*:drop,times=1"));
        const auto answer = ask(isCommand ? "POST" : "GET");
        EXPECT_EQ(answer.has_value(), !isCommand);
        if (!answer) EXPECT_EQ(answer.error().transportFault, TransportFault::brokenOff);
        EXPECT_EQ(sandbox.log().requests().size(), isCommand ? 2U : 3U);
    }
}

}  // namespace tovri::test
