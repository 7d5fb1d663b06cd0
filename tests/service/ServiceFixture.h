#pragma once

#include <optional>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "base/TaskScope.h"
#include "service/PutIOAPI.h"
#include "support/FakeFolderAccess.h"
#include "support/MemoryFileManager.h"
#include "support/MemoryStores.h"
#include "support/ScriptedSessions.h"
#include "support/SeededRandom.h"
#include "support/VirtualLoop.h"
#include "support/VirtualVolumeQueues.h"

namespace tovri::test {

// A client on simulated ports, signed in with the token "secret" unless a test signs it out.
class ServiceFixture : public testing::Test {
public:
    ServiceFixture() {
        EXPECT_TRUE(auth.signInWithToken("secret"));
        http.handler = [this](const HTTPRequest&) { return answer; };
    }

    void answerWith(int status, std::string body) { answer = HTTPResponse{status, std::move(body)}; }

    // Starts the task; its result appears in what this returns.
    template <class T>
    std::shared_ptr<std::optional<T>> start(Task<T> task) {
        auto result = std::make_shared<std::optional<T>>();
        scope.start(store(std::move(task), result));
        return result;
    }

    // Runs the task to its end.
    template <class T>
    T run(Task<T> task) {
        const auto result = start(std::move(task));
        EXPECT_TRUE(loop.runUntil([&] { return result->has_value(); }));
        return std::move(**result);
    }

    // "POST /transfers/cancel transfer_ids=7,9"
    [[nodiscard]] std::string lastRequest() const {
        const HTTPRequest& request = http.requests.back();
        return request.method + " " + request.url.substr(api.baseURL().size()) + " " + request.body;
    }

    [[nodiscard]] std::stop_token never() const { return {}; }

    VirtualLoop loop;
    VirtualClock clock{loop};
    VirtualBackgroundQueue background{loop};
    VirtualVolumeQueues volumes{loop};
    MemoryCredentialStore credentials;
    ScriptedWebAuthentication web{loop};
    ScriptedHTTPSession http{loop};
    MemoryFileManager files;
    FakeFolderAccess folderAccess;
    SeededRandom random;
    RecordingLog log;
    Result<HTTPResponse> answer = HTTPResponse{200, R"({"status":"OK"})"};
    Platform platform{
        loop, clock, random, files, folderAccess, background, volumes, log, {"/home/user", "/data", "/tmp"}};
    AuthManager auth{credentials, web, loop, ServiceHosts{}};
    PutIOAPI api{auth, http, servicePorts(platform), ServiceHosts{}};
    TaskScope scope;

private:
    template <class T>
    static Task<void> store(Task<T> task, std::shared_ptr<std::optional<T>> result) {
        T value = co_await std::move(task);
        result->emplace(std::move(value));
    }
};

}  // namespace tovri::test
