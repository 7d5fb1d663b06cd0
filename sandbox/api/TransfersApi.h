#pragma once

#include <optional>

#include "sandbox/account/Transfers.h"
#include "sandbox/api/ApiCall.h"

namespace tovri::sandbox {

// "/transfers/...".
class TransfersApi {
public:
    // The transfers outlive this object.
    explicit TransfersApi(Transfers& transfers) : transfers_(transfers) {}

    // None when the path is not of this API.
    std::optional<HttpResponse> answer(const ApiCall& call);

    void advance() { transfers_.advance(); }

private:
    HttpResponse list() const;
    HttpResponse add(const ApiCall& call);
    HttpResponse cancel(const ApiCall& call);
    HttpResponse retry(const ApiCall& call);
    HttpResponse show(const Transfer& transfer) const;

    Transfers& transfers_;
};

}  // namespace tovri::sandbox
