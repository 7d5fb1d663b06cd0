// The service's answers. What can be read can be written, and is the same when it is read again.
#include "fuzz/Fuzz.h"
#include "service/PutIOAPI.h"
#include "service/records/JSONCoding.h"
#include "service/records/PutIOAccount.h"
#include "service/records/PutIOFileList.h"
#include "service/records/RSSFeed.h"
#include "service/records/ReadableJSON.h"
#include "service/records/Transfer.h"
#include "service/requests/ServiceRefusal.h"

namespace {

using namespace tovri;
using fuzz::require;

template <class... Records>
void check(std::string_view text) {
    const auto checkOne = [text]<class Record>(std::type_identity<Record>) {
        const Result<Record> record = decodeJSON<Record>(text);
        if (!record) return;
        const Result<Record> again = decodeJSON<Record>(encodeJSON(*record));
        require(again && *again == *record);
    };
    (checkOne(std::type_identity<Records>()), ...);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string_view text = fuzz::textOf(bytes, size);
    const std::string readable = readableJSON(text);
    require(readableJSON(readable) == readable);
    check<PutIOFile, PutIOFileList, PutIOAccountResponse, Transfer, TransferListResponse, TransferAddResponse,
          TransferStarted, RSSFeed, RSSFeedListResponse, RSSFeedResponse, ServiceRefusal, PutIOAPI::StatusResponse,
          PutIOAPI::DownloadURLResponse, PutIOAPI::UploadResponse>(text);
    return 0;
}
