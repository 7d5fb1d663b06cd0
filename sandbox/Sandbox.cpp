#include "sandbox/Sandbox.h"

#include <chrono>
#include <functional>
#include <optional>
#include <utility>

#include <fmt/format.h>

#include "sandbox/api/ApiServer.h"
#include "sandbox/http/Certificate.h"
#include "sandbox/http/HttpServer.h"
#include "sandbox/http/StorageServer.h"

namespace tovri::sandbox {

namespace {

std::function<double()> fastClock(double rate) {
    return [rate, start = std::chrono::steady_clock::now()] {
        return rate * std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
}

}  // namespace

struct Sandbox::Parts {
    explicit Parts(SandboxSettings wanted)
        : settings(std::move(wanted)),
          transfers(account, fastClock(settings.clockRate)),
          folders(account, fastClock(settings.clockRate)),
          links(settings.linkLifetime) {}

    std::string urlOf(const std::optional<HttpServer>& server) const {
        return fmt::format("{}://127.0.0.1:{}", settings.tls ? "https" : "http", server ? server->port() : 0);
    }

    SandboxSettings settings;
    Account account;
    Transfers transfers;
    LivingFolders folders;
    FeedsApi feeds;
    Faults faults;
    RequestLog log;
    Links links;
    Pause pause;

    FilesApi files{account, links, settings};
    TransfersApi transfersApi{transfers};
    UploadServer upload{{account, faults, log, pause, settings, transfers}};
    ControlApi control{account, faults, log};
    ApiServer api{{account, faults, log, pause, settings, files, folders, transfersApi, feeds, upload, control}};
    StorageServer storage{account, faults, links, log, pause};

    std::optional<Certificate> certificate;
    std::optional<HttpServer> apiServer;
    std::optional<HttpServer> storageServer;
};

Sandbox::Sandbox(SandboxSettings settings) : parts_(std::make_unique<Parts>(std::move(settings))) {}

Sandbox::~Sandbox() {
    stop();
}

Account& Sandbox::account() {
    return parts_->account;
}

Transfers& Sandbox::transfers() {
    return parts_->transfers;
}

LivingFolders& Sandbox::folders() {
    return parts_->folders;
}

FeedsApi& Sandbox::feeds() {
    return parts_->feeds;
}

Faults& Sandbox::faults() {
    return parts_->faults;
}

RequestLog& Sandbox::log() {
    return parts_->log;
}

const SandboxSettings& Sandbox::settings() const {
    return parts_->settings;
}

Scene Sandbox::scene() {
    return {parts_->account, parts_->transfers, parts_->feeds, parts_->faults, parts_->settings};
}

void Sandbox::start() {
    Parts& parts = *parts_;
    parts.pause.restart();
    if (parts.settings.tls && !parts.certificate) parts.certificate.emplace();
    const Certificate* certificate = parts.certificate ? &*parts.certificate : nullptr;
    parts.storageServer.emplace(parts.settings.storagePort, certificate,
                                [&parts](const HttpRequest& request) { return parts.storage.answer(request); });
    parts.settings.storagePort = parts.storageServer->port();
    parts.files.setStorageURL(storageURL());
    parts.apiServer.emplace(parts.settings.apiPort, certificate,
                            [&parts](const HttpRequest& request) { return parts.api.answer(request); });
    parts.settings.apiPort = parts.apiServer->port();
}

void Sandbox::stop() {
    parts_->pause.stop();
    parts_->apiServer.reset();
    parts_->storageServer.reset();
}

std::string Sandbox::apiURL() const {
    return parts_->urlOf(parts_->apiServer);
}

std::string Sandbox::storageURL() const {
    return parts_->urlOf(parts_->storageServer);
}

long Sandbox::resumedSessions() const {
    return parts_->storageServer ? parts_->storageServer->resumedSessions() : 0;
}

std::string Sandbox::certificatePem() const {
    return parts_->certificate ? parts_->certificate->pem() : "";
}

}  // namespace tovri::sandbox
