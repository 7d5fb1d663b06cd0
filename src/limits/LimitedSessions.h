#pragma once

#include "limits/SpeedLimit.h"
#include "platform/HTTPSession.h"
#include "platform/TransferSession.h"

namespace tovri {

// Another session, whose transfers keep to the limit: each attempt has a share of its own.
class LimitedTransferSession final : public TransferSession {
public:
    // Both outlive this.
    LimitedTransferSession(TransferSession& session, SpeedLimit& limit) : session_(session), limit_(limit) {}

    Subscription fetch(TransferRequest request, Done done) override;

    [[nodiscard]] bool isLimited() const override { return limit_.rate().has_value(); }

private:
    TransferSession& session_;
    SpeedLimit& limit_;
};

// Another session, whose uploads of files keep to the limit. What asks the service for something is never held up.
class LimitedHTTPSession final : public HTTPSession {
public:
    // Both outlive this.
    LimitedHTTPSession(HTTPSession& session, SpeedLimit& limit) : session_(session), limit_(limit) {}

    Subscription send(HTTPRequest request, Done done) override;

private:
    HTTPSession& session_;
    SpeedLimit& limit_;
};

}  // namespace tovri
