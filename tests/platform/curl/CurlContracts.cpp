#include <fstream>
#include <map>
#include <sstream>

#include "platform/HTTPSessionContract.h"
#include "platform/TransferSessionContract.h"
#include "platform/curl/CurlHTTPSession.h"
#include "platform/curl/CurlTransferSession.h"
#include "platform/curl/ScriptedServer.h"
#include "sandbox/Sandbox.h"
#include "sandbox/faults/FaultSettings.h"
#include "support/FakeSleepClock.h"
#include "support/HandRunLoop.h"
#include "support/TemporaryFolder.h"

namespace tovri::test {
namespace {

namespace fs = std::filesystem;

std::optional<std::string> answer(const std::string& request) {
    std::string method;
    std::string path;
    std::istringstream(request) >> method >> path;
    if (path.empty() || path == "/break") return "";  // a withdrawn request may come without any bytes
    if (path == "/silent") return std::nullopt;
    const std::string body = method + " " + request.substr(request.find("\r\n\r\n") + 4);
    return "HTTP/1.1 " + path.substr(1) + " Status\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" +
           body;
}

class CurlHTTPWorld final : public HTTPWorld {
public:
    HTTPSession& session() override { return *session_; }

    void endSession() override {
        session_.reset();
        loop_.runPosted();
    }

    std::string url(const std::string& path) override { return server_.url(path); }

    fs::path makeFile(const std::string& content) override {
        std::ofstream(folder_.path / "body") << content;
        return folder_.path / "body";
    }

    void runUntil(const std::function<bool()>& condition) override {
        while (!condition()) {
            ASSERT_TRUE(loop_.waitForPost());
            loop_.runPosted();
        }
    }

private:
    TemporaryFolder folder_;
    ScriptedServer server_{answer};
    HandRunLoop loop_;
    FakeSleepClock sleepClock_;
    std::unique_ptr<CurlHTTPSession> session_ = std::make_unique<CurlHTTPSession>(loop_, sleepClock_);
};

class CurlTransferWorld final : public TransferWorld {
public:
    CurlTransferWorld() { sandbox_.start(); }

    std::unique_ptr<TransferSession> makeSession() override {
        return std::make_unique<CurlTransferSession>(loop_, sleepClock_);
    }

    MainLoop& loop() override { return loop_; }

    std::string serve(ByteCount size) override {
        const auto file = sandbox_.account().addFile(
            sandbox::rootID, {"file " + std::to_string(size), static_cast<std::uint64_t>(size)});
        std::string link = sandbox_.storageURL() + "/download/" + std::to_string(file) + "?link=secret";
        files_[link] = file;
        return link;
    }

    std::string content(const std::string& link) override {
        const sandbox::Content content = sandbox_.account().find(files_.at(link))->content();
        std::string bytes(content.size(), '\0');
        content.read(0, bytes);
        return bytes;
    }

    void breakNext(const std::string& link, ByteCount after) override {
        strike(link, "cut=" + std::to_string(after) + ",times=1");
    }

    void setStatus(const std::string& link, int status) override {
        sandbox_.faults().clear();
        strike(link, "status=" + std::to_string(status));
    }

    void setRate(const std::string& link, ByteCount rate) override {
        sandbox_.faults().clear();
        strike(link, "rate=" + std::to_string(rate));
    }

    void waitUntil(const std::function<bool()>& condition) override {
        while (!condition()) {
            ASSERT_TRUE(loop_.waitForPost());
            loop_.runPosted();
        }
    }

private:
    void strike(const std::string& link, const std::string& fault) {
        const std::string path = "/download/" + std::to_string(files_.at(link));
        sandbox_.faults().add(*sandbox::parseFault("storage:" + path + ":" + fault));
    }

    sandbox::Sandbox sandbox_;
    std::map<std::string, sandbox::FileID> files_;
    HandRunLoop loop_;
    FakeSleepClock sleepClock_;
};

INSTANTIATE_TEST_SUITE_P(Curl, HTTPSessionContract, testing::Values([] { return std::make_unique<CurlHTTPWorld>(); }));
INSTANTIATE_TEST_SUITE_P(Curl, TransferSessionContract,
                         testing::Values([] { return std::make_unique<CurlTransferWorld>(); }));

}  // namespace
}  // namespace tovri::test
