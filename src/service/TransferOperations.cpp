// The operations of PutIOAPI on the transfers that the service runs for the account.

#include "service/PutIOAPI.h"
#include "service/records/IDList.h"

namespace tovri {

Task<Result<std::vector<Transfer>>> PutIOAPI::listTransfers(std::stop_token stop) {
    Result<TransferListResponse> list = co_await get<TransferListResponse>("/transfers/list", {}, std::move(stop));
    if (!list) co_return failure(list);
    co_return std::move(list->transfers);
}

Task<Result<Transfer>> PutIOAPI::addTransfer(std::string url, FolderID saveParentID, bool extract,
                                             std::stop_token stop) {
    Parameters parameters{{"url", std::move(url)}};
    if (saveParentID != rootFolderID) parameters["save_parent_id"] = saveParentID.text();
    if (extract) parameters["extract"] = "true";
    Result<TransferAddResponse> added =
        co_await post<TransferAddResponse>("/transfers/add", std::move(parameters), std::move(stop));
    if (!added) co_return failure(added);
    co_return std::move(added->transfer);
}

Task<Result<void>> PutIOAPI::cancelTransfers(std::vector<TransferID> transferIDs, std::stop_token stop) {
    return command("/transfers/cancel", {{"transfer_ids", joinedIDs(transferIDs)}}, std::move(stop));
}

Task<Result<Transfer>> PutIOAPI::retryTransfer(TransferID transferID, std::stop_token stop) {
    Parameters parameters{{"id", transferID.text()}};
    Result<TransferAddResponse> retried =
        co_await post<TransferAddResponse>("/transfers/retry", std::move(parameters), std::move(stop));
    if (!retried) co_return failure(retried);
    co_return std::move(retried->transfer);
}

Task<Result<void>> PutIOAPI::cleanTransfers(std::stop_token stop) {
    return command("/transfers/clean", {}, std::move(stop));
}

}  // namespace tovri
