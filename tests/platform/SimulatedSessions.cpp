#include "platform/HTTPSessionContract.h"
#include "platform/TransferSessionContract.h"
#include "support/MemoryFileManager.h"
#include "support/ScriptedSessions.h"
#include "support/SimulatedTransferSession.h"
#include "support/VirtualLoop.h"

namespace tovri::test {
namespace {

class ScriptedHTTPWorld final : public HTTPWorld {
public:
    ScriptedHTTPWorld() {
        session_->handler = [this](const HTTPRequest& request) -> Result<HTTPResponse> {
            const std::string what = request.url.substr(request.url.rfind('/') + 1);
            if (what == "break") return failure({TransportFault::brokenOff, "The connection broke."});
            const std::string body = request.bodyFile.empty() ? request.body : *files_.content(request.bodyFile);
            return HTTPResponse{std::stoi(what), request.method + " " + body};
        };
        session_->isUnanswered = [](const HTTPRequest& request) { return request.url.ends_with("/silent"); };
    }

    HTTPSession& session() override { return *session_; }

    void endSession() override {
        session_.reset();
        loop_.advance(std::chrono::hours(1));
    }

    std::string url(const std::string& path) override { return "https://put.example" + path; }

    std::filesystem::path makeFile(const std::string& content) override {
        files_.put("/body", content);
        return "/body";
    }

    void runUntil(const std::function<bool()>& condition) override { ASSERT_TRUE(loop_.runUntil(condition)); }

private:
    VirtualLoop loop_;
    MemoryFileManager files_;
    std::unique_ptr<ScriptedHTTPSession> session_ = std::make_unique<ScriptedHTTPSession>(loop_, &files_);
};

class SimulatedTransferWorld final : public TransferWorld {
public:
    std::unique_ptr<TransferSession> makeSession() override {
        return std::make_unique<SimulatedTransferSession>(loop_, storage_);
    }

    MainLoop& loop() override { return loop_; }

    std::string serve(ByteCount size) override {
        const std::string link = "https://put.example/" + std::to_string(storage_.links.size());
        storage_.links[link].content.assign(static_cast<std::size_t>(size), 'a');
        return link;
    }

    std::string content(const std::string& link) override { return storage_.links.at(link).content; }

    void breakNext(const std::string& link, ByteCount after) override {
        storage_.links.at(link).breaks.push_back({.at = after});
    }

    void setStatus(const std::string& link, int status) override { storage_.links.at(link).status = status; }

    void setRate(const std::string& link, ByteCount rate) override { storage_.links.at(link).rate = rate; }

    void waitUntil(const std::function<bool()>& condition) override { ASSERT_TRUE(loop_.runUntil(condition)); }

private:
    VirtualLoop loop_;
    SimulatedStorage storage_;
};

INSTANTIATE_TEST_SUITE_P(Scripted, HTTPSessionContract,
                         testing::Values([] { return std::make_unique<ScriptedHTTPWorld>(); }));
INSTANTIATE_TEST_SUITE_P(Simulated, TransferSessionContract,
                         testing::Values([] { return std::make_unique<SimulatedTransferWorld>(); }));

}  // namespace
}  // namespace tovri::test
