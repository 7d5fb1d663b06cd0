#pragma once

#include <cstddef>
#include <stop_token>
#include <string>
#include <unordered_set>
#include <vector>

#include "base/Result.h"
#include "base/Task.h"
#include "service/records/PutIOFileList.h"

namespace tovri {

class PutIOAPI;

// The rest of a folder whose first answer carried a cursor, page by page. Trusts no page: an entry that was there
// before counts once, and a listing that brings nothing new, or more than any folder holds, does not go on for ever.
class ListingContinuation {
public:
    // As many entries as the service sends at once, by its own account.
    static constexpr int pageSize = 1000;

    // A folder of so many entries takes some 100 MB of memory; the program is measured with 100,000.
    static constexpr std::size_t mostEntries = 250'000;

    // Those of a service that goes on sending pages as short as the shortest first answer: 50 entries.
    static constexpr std::size_t mostPages = mostEntries / 50;

    // `api` outlives the continuation, `first` need not.
    ListingContinuation(PutIOAPI& api, const PutIOFileList& first);

    // Whether nothing is missing any more.
    [[nodiscard]] bool isOver() const { return cursor_.empty(); }

    // One more page, while it is not over: its entries that were in none before. Fails as the request does, when the
    // listing cannot be believed, and, without a request, when the user does not want long folders to be read.
    Task<Result<std::vector<PutIOFile>>> next(std::stop_token stop);

private:
    [[nodiscard]] Result<std::vector<PutIOFile>> accept(PutIOFileList page);

    PutIOAPI& api_;
    std::string cursor_;
    std::unordered_set<FileID> seen_;
    std::size_t pages_ = 0;
};

}  // namespace tovri
