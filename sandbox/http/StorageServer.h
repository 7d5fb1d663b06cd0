#pragma once

#include "sandbox/account/Account.h"
#include "sandbox/account/Links.h"
#include "sandbox/faults/Faults.h"
#include "sandbox/faults/Pause.h"
#include "sandbox/http/BodyStream.h"
#include "sandbox/http/HttpServer.h"
#include "sandbox/http/RequestLog.h"

namespace tovri::sandbox {

// The host that the bytes come from: "/download/ID?link=NUMBER". It needs no token and notes when it is shown one. It
// honours one range per request, If-Range, and HEAD.
class StorageServer {
public:
    // Everything given outlives this object.
    StorageServer(Account& account, Faults& faults, Links& links, RequestLog& log, Pause& pause)
        : account_(account), faults_(faults), links_(links), log_(log), pause_(pause) {}

    // On any thread.
    HttpResponse answer(const HttpRequest& request);

private:
    struct Answer {
        HttpResponse response;
        std::optional<BodyPlan> body;  // none: the response has it all
    };

    Answer answerFor(const HttpRequest& request, std::optional<File> file, const Fault& fault);
    static Answer sendFile(const HttpRequest& request, const File& file, const Fault& fault);
    std::optional<int> refusal(const HttpRequest& request, const Fault& fault);

    Account& account_;
    Faults& faults_;
    Links& links_;
    RequestLog& log_;
    Pause& pause_;
};

}  // namespace tovri::sandbox
