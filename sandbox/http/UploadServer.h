#pragma once

#include <atomic>

#include "sandbox/SandboxSettings.h"
#include "sandbox/account/Account.h"
#include "sandbox/account/Transfers.h"
#include "sandbox/faults/Faults.h"
#include "sandbox/faults/Pause.h"
#include "sandbox/http/HttpServer.h"
#include "sandbox/http/RequestLog.h"

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
