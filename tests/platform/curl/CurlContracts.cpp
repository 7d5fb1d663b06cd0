#include <chrono>
#include <fstream>
#include <sstream>
#include <thread>

#include "platform/HTTPSessionContract.h"
#include "platform/TransferSessionContract.h"
#include "platform/curl/CurlHTTPSession.h"
#include "platform/curl/CurlTransferSession.h"
#include "platform/curl/ScriptedServer.h"
#include "sandbox/Sandbox.h"
#include "sandbox/faults/FaultSettings.h"
#include "support/HandRunLoop.h"
#include "support/SeededRandom.h"
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
    std::unique_ptr<CurlHTTPSession> session_ = std::make_unique<CurlHTTPSession>(loop_);
};

class CurlTransferWorld final : public TransferWorld {
public:
    CurlTransferWorld() { sandbox_.start(); }

    std::unique_ptr<TransferSession> makeSession(TransferDelegate& delegate) override {
        return std::make_unique<CurlTransferSession>(delegate, partials_, random_);
    }

    std::string serve(ByteCount size) override {
        file_ = sandbox_.account().addFile(sandbox::rootID,
                                           {"file " + std::to_string(size), static_cast<std::uint64_t>(size)});
        return sandbox_.storageURL() + "/download/" + std::to_string(file_) + "?link=secret";
    }

    // Every test looks at the link that was served last.
    std::string content(const std::string&) override {
        const sandbox::Content content = sandbox_.account().find(file_)->content();
        std::string bytes(content.size(), '\0');
        content.read(0, bytes);
        return bytes;
    }

    void breakNext(const std::string&, ByteCount after) override {
        strike("cut=" + std::to_string(after) + ",times=1");
    }

    void changeNext(const std::string&) override { strike("change,times=1"); }

    void setStatus(const std::string&, int status) override {
        sandbox_.faults().clear();
        if (status != 200) strike("status=" + std::to_string(status));
    }

    void setRate(const std::string&, ByteCount rate) override {
        sandbox_.faults().clear();
        strike("rate=" + std::to_string(rate));
    }

    std::size_t partialFiles() override {
        return fs::exists(partials_) ? static_cast<std::size_t>(std::distance(fs::directory_iterator(partials_), {}))
                                     : 0;
    }

    std::size_t mostConnections() override { return sandbox_.log().statistics().maxConcurrentTransfers; }

    std::string read(const fs::path& file) override {
        std::ostringstream bytes;
        if (fs::file_size(file) > 0) bytes << std::ifstream(file).rdbuf();
        return bytes.str();
    }

    void waitUntil(const std::function<bool()>& condition) override {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!condition()) {
            ASSERT_LT(std::chrono::steady_clock::now(), deadline);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

private:
    void strike(const std::string& fault) { sandbox_.faults().add(*sandbox::parseFault("storage:*:" + fault)); }

    TemporaryFolder folder_;
    fs::path partials_ = folder_.path / "partials";
    sandbox::Sandbox sandbox_;
    sandbox::FileID file_ = 0;
    SeededRandom random_;
};

INSTANTIATE_TEST_SUITE_P(Curl, HTTPSessionContract, testing::Values([] { return std::make_unique<CurlHTTPWorld>(); }));
INSTANTIATE_TEST_SUITE_P(Curl, TransferSessionContract,
                         testing::Values([] { return std::make_unique<CurlTransferWorld>(); }));

}  // namespace
}  // namespace tovri::test
