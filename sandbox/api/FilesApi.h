#pragma once

#include <optional>
#include <string>

#include "sandbox/SandboxSettings.h"
#include "sandbox/account/Account.h"
#include "sandbox/account/Links.h"
#include "sandbox/api/ApiCall.h"
#include "sandbox/api/JsonWriter.h"

namespace tovri::sandbox {

// "/files/...": listing, links, deletion and moving. Uploads have a class of their own.
class FilesApi {
public:
    // Everything given outlives this object.
    FilesApi(Account& account, Links& links, const SandboxSettings& settings)
        : account_(account), links_(links), settings_(settings) {}

    // Set before the first call: where our own storage host listens.
    void setStorageURL(std::string url) { storageURL_ = std::move(url); }

    // None when the path is not of this API.
    std::optional<HttpResponse> answer(const ApiCall& call);

    // The CRC-32 that is shown for a file; none for folders and for files beyond the limit.
    std::optional<std::uint32_t> shownCRC32(const File& file);

    // The file of a path "/files/ID/url".
    static std::optional<FileID> fileOfLinkPath(std::string_view path);

private:
    static std::optional<FileID> fileOfPath(std::string_view path);
    void writeRecord(JsonWriter& json, File file, const ApiCall& call);
    HttpResponse record(const ApiCall& call, FileID id);
    HttpResponse list(const ApiCall& call);
    HttpResponse listFrom(const ApiCall& call, FileID folderID, std::size_t from);
    HttpResponse continueList(const ApiCall& call);
    HttpResponse link(FileID id);
    HttpResponse remove(const ApiCall& call);
    HttpResponse move(const ApiCall& call);
    std::string linkTo(const File& file);

    Account& account_;
    Links& links_;
    const SandboxSettings& settings_;
    std::string storageURL_;
};

}  // namespace tovri::sandbox
