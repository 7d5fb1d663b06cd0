#include "platform/curl/CurlTransferSession.h"

#include <utility>

#include "platform/curl/TransferTable.h"

namespace tovri {

CurlTransferSession::CurlTransferSession(TransferDelegate& delegate, std::filesystem::path folder, RandomSource& random)
    : CurlTransferSession(delegate, std::move(folder), random, Options()) {}

CurlTransferSession::CurlTransferSession(TransferDelegate& delegate, std::filesystem::path folder, RandomSource& random,
                                         Options options)
    : table_(std::make_unique<TransferTable>(delegate, std::move(folder), random, options.idleLimit)) {}

CurlTransferSession::~CurlTransferSession() = default;

TransferID CurlTransferSession::makeTransfer(std::string url) {
    const TransferID id = ++lastTransfer_;
    table_->run([id, url = std::move(url)](TransferTable& table) mutable { table.addForLink(id, std::move(url)); });
    return id;
}

TransferID CurlTransferSession::resumeTransfer(const ResumeToken& token) {
    const TransferID id = ++lastTransfer_;
    table_->run([id, token](TransferTable& table) { table.addForToken(id, token); });
    return id;
}

void CurlTransferSession::start(TransferID transfer) {
    table_->run([transfer](TransferTable& table) { table.start(transfer); });
}

void CurlTransferSession::cancel(TransferID transfer) {
    table_->run([transfer](TransferTable& table) { table.cancel(transfer); });
}

void CurlTransferSession::cancelProducingToken(TransferID transfer, TokenReceiver receive) {
    table_->run([transfer, receive = std::move(receive)](TransferTable& table) mutable {
        table.cancelProducingToken(transfer, std::move(receive));
    });
}

void CurlTransferSession::discard(const ResumeToken& token) {
    table_->run([token](TransferTable& table) { table.discard(token); });
}

void CurlTransferSession::discardAllBut(const std::vector<ResumeToken>& tokens) {
    table_->run([tokens](TransferTable& table) { table.discardAllBut(tokens); });
}

}  // namespace tovri
