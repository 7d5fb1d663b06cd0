#include "service/ConfirmedDeletion.h"

#include "service/records/IDList.h"

namespace tovri {

Task<Result<void>> deleteConfirmed(PutIOAPI* api, std::vector<FileID> entries, std::stop_token stop) {
    using Status = PutIOAPI::StatusResponse;
    Result<Status> answer =
        co_await api->post<Status>("/files/delete", {{"file_ids", joinedIDs(entries)}}, std::move(stop));
    if (!answer) co_return failure(answer);
    if (answer->status == "OK") co_return Result<void>();
    co_return failure(Error(ErrorCase::invalidResponse, "put.io did not confirm the deletion."));
}

}  // namespace tovri
