#pragma once

#include <atomic>

#include "sandbox/Account.h"
#include "sandbox/Faults.h"
#include "sandbox/HttpServer.h"
#include "sandbox/Pause.h"
#include "sandbox/RequestLog.h"
#include "sandbox/SandboxSettings.h"
#include "sandbox/Transfers.h"

namespace tovri::sandbox {

// "/v2/files/upload": takes one file as multipart/form-data, of any size. Content is kept up to a limit in all, so that
// it can be downloaded again; size and CRC-32 are always true. A .torrent file starts a transfer instead.
class UploadServer {
public:
    // Everything given outlives this object.
    struct Parts {
        Account& account;
        Faults& faults;
        RequestLog& log;
        Pause& pause;
        const SandboxSettings& settings;
        Transfers& transfers;
    };

    explicit UploadServer(const Parts& parts) : parts_(parts) {}

    // On any thread.
    HttpResponse answer(const HttpRequest& request, bool isAuthorized);

private:
    struct Upload;

    bool receive(BodyReader& body, Upload& upload);
    bool receiveData(Upload& upload, std::string_view data);
    HttpResponse answerFor(const HttpRequest& request, bool isAuthorized, Upload& upload);
    HttpResponse store(Upload& upload);

    Parts parts_;
    std::atomic<std::uint64_t> memoryUsed_ = 0;
};

}  // namespace tovri::sandbox
