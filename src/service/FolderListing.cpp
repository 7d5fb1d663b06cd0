#include "service/FolderListing.h"

#include <algorithm>
#include <iterator>

#include "service/PutIOAPI.h"
#include "service/records/ListingContinuation.h"

namespace tovri {
namespace {

// What comes without it may be the answer of a service that is not well: files that are missing there are not gone.
Result<void> confirmation(const PutIOFileList& page) {
    if (page.status == "OK") return {};
    return failure(Error(ErrorCase::invalidResponse, "put.io did not confirm the listing."));
}

}  // namespace

Error notReadToItsEnd() {
    return {ErrorCase::turnedOff, "Reading long folders to their end is turned off."};
}

std::string cutListingText(std::string_view folder, std::string_view reason) {
    return "put.io listed only the beginning of " + std::string(folder) + ". " + std::string(reason);
}

// --- Page by page ---

ListingContinuation::ListingContinuation(PutIOAPI& api, const PutIOFileList& first)
    : api_(api), cursor_(first.cursor.value_or("")) {
    if (isOver()) return;
    for (const PutIOFile& entry : first.files) seen_.insert(entry.id);
}

Task<Result<std::vector<PutIOFile>>> ListingContinuation::next(std::stop_token stop) {
    if (!api_.readsLongFolders()) co_return failure(notReadToItsEnd());
    Result<PutIOFileList> page = co_await api_.continueListing(cursor_, std::move(stop));
    if (!page) co_return failure(page);
    if (Result<void> confirmed = confirmation(*page); !confirmed) co_return failure(confirmed);
    co_return accept(std::move(*page));
}

Result<std::vector<PutIOFile>> ListingContinuation::accept(PutIOFileList page) {
    std::erase_if(page.files, [this](const PutIOFile& entry) { return !seen_.insert(entry.id).second; });
    cursor_ = std::move(page.cursor).value_or("");
    ++pages_;
    if (page.files.empty() && !isOver())
        return failure(Error(ErrorCase::invalidResponse, "Its listing goes round in circles."));
    if (seen_.size() > mostEntries || (pages_ >= mostPages && !isOver()))
        return failure(Error(ErrorCase::invalidResponse, "Its listing is longer than any folder can be."));
    return std::move(page.files);
}

// --- As a whole ---

Task<Result<FolderListing>> PutIOAPI::readFolder(FolderID folderID, std::stop_token stop) {
    Result<PutIOFileList> first = co_await listFolder(folderID, stop);
    if (!first) co_return failure(first);
    if (Result<void> confirmed = confirmation(*first); !confirmed) co_return failure(confirmed);
    ListingContinuation rest(*this, *first);
    FolderListing listing;
    listing.firstPageSize = first->files.size();
    listing.files = std::move(first->files);
    while (!rest.isOver() && !listing.cut) {
        Result<std::vector<PutIOFile>> more = co_await rest.next(stop);
        if (more)
            std::ranges::move(*more, std::back_inserter(listing.files));
        else if (more.error().isCancellation())
            co_return failure(more);
        else
            listing.cut = std::move(more.error());
    }
    co_return listing;
}

}  // namespace tovri
