#pragma once

#include "sandbox/account/Account.h"
#include "sandbox/account/FileChanges.h"
#include "sandbox/faults/Faults.h"
#include "sandbox/http/HttpServer.h"
#include "sandbox/http/RequestLog.h"

namespace tovri::sandbox {

// "/sandbox/...": the calls with which a test looks into the sandbox and changes its faults and files while it runs.
// They need no token and are not logged.
class ControlApi {
public:
    // Everything given outlives this object.
    ControlApi(Account& account, Faults& faults, RequestLog& log)
        : account_(account), changes_(account), faults_(faults), log_(log) {}

    static bool isControlPath(std::string_view path) { return path.starts_with("/sandbox/"); }

    HttpResponse answer(const HttpRequest& request);

private:
    HttpResponse changeFaults(const HttpRequest& request);
    HttpResponse changeFiles(const HttpRequest& request);
    HttpResponse addFaults(std::string_view text);
    HttpResponse showFaults() const;
    HttpResponse showStatistics() const;
    HttpResponse showAccount() const;

    Account& account_;
    FileChanges changes_;
    Faults& faults_;
    RequestLog& log_;
};

}  // namespace tovri::sandbox
