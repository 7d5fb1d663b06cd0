#pragma once

#include "sandbox/SandboxSettings.h"
#include "sandbox/account/Account.h"
#include "sandbox/account/generated/LivingFolders.h"
#include "sandbox/api/ControlApi.h"
#include "sandbox/api/FeedsApi.h"
#include "sandbox/api/FilesApi.h"
#include "sandbox/api/TransfersApi.h"
#include "sandbox/faults/Faults.h"
#include "sandbox/faults/Pause.h"
#include "sandbox/http/RequestLog.h"
#include "sandbox/http/UploadServer.h"

namespace tovri::sandbox {

// The API port: checks the token, lets faults strike, and hands each call to the class that answers it. The upload
// endpoint, the pages for a browser and the sandbox's own control calls live on the same port.
class ApiServer {
public:
    struct Parts {
        Account& account;
        Faults& faults;
        RequestLog& log;
        Pause& pause;
        const SandboxSettings& settings;
        FilesApi& files;
        LivingFolders& folders;
        TransfersApi& transfers;
        FeedsApi& feeds;
        UploadServer& upload;
        ControlApi& control;
    };

    // Everything given outlives this object.
    explicit ApiServer(const Parts& parts) : parts_(parts) {}

    // On any thread.
    HttpResponse answer(const HttpRequest& request);

private:
    HttpResponse answerOrFail(const HttpRequest& request, Role role, const ApiCall& call, const Fault& fault);
    HttpResponse dispatch(const ApiCall& call);
    HttpResponse signInPage(const ApiCall& call) const;
    HttpResponse accountInfo() const;
    bool isAuthorized(const HttpRequest& request) const;
    std::vector<std::string> faultNames(const HttpRequest& request, Role role, const ApiCall& call) const;

    Parts parts_;
};

}  // namespace tovri::sandbox
