#pragma once

#include <string>

#include <gtest/gtest.h>
#include <httplib.h>

#include "sandbox/Sandbox.h"
#include "sandbox/faults/FaultSettings.h"
#include "support/ComesTrue.h"

namespace tovri::sandbox {

using test::comesTrue;

// A sandbox that runs in the test's process, with clients for its two hosts.
class SandboxTest : public testing::Test {
protected:
    explicit SandboxTest(const SandboxSettings& settings = {}) : sandbox_(settings) {
        sandbox_.start();
        api_.emplace(sandbox_.apiURL());
        api_->set_keep_alive(true);
        api_->set_tcp_nodelay(true);
        api_->set_bearer_token_auth(settings.token);
        storage_.emplace(sandbox_.storageURL());
        storage_->set_keep_alive(true);
    }

    Account& account() { return sandbox_.account(); }

    void addFault(const std::string& text) {
        const auto fault = parseFault(text);
        ASSERT_TRUE(fault) << fault.error();
        sandbox_.faults().add(*fault);
    }

    // The bytes that a file should have.
    std::string truth(FileID id, std::uint64_t from = 0, std::uint64_t count = UINT64_MAX) {
        const Content content = account().find(id).value().content();
        std::string bytes(static_cast<std::size_t>(std::min(count, content.size() - from)), '\0');
        content.read(from, bytes);
        return bytes;
    }

    httplib::Result get(const std::string& path) { return api_->Get("/v2" + path); }

    httplib::Result post(const std::string& path, const httplib::Params& form) {
        return api_->Post("/v2" + path, form);
    }

    httplib::Result download(FileID id, const httplib::Headers& headers = {}) {
        return storage_->Get("/download/" + std::to_string(id), headers);
    }

    // As `download`, for answers that break off: what arrived.
    std::string downloadPart(FileID id) {
        std::string arrived;
        storage_->Get("/download/" + std::to_string(id), [&](const char* data, std::size_t size) {
            arrived.append(data, size);
            return true;
        });
        return arrived;
    }

    Sandbox sandbox_;
    std::optional<httplib::Client> api_;
    std::optional<httplib::Client> storage_;
};

}  // namespace tovri::sandbox
