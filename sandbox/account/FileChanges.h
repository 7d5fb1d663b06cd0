#pragma once

#include <string_view>

#include "sandbox/account/Account.h"
#include "sandbox/api/Fields.h"
#include "sandbox/http/HttpServer.h"

namespace tovri::sandbox {

// "/sandbox/files/...": lets a test change the account's files while a client watches them. A file is named by the
// field "path" or, where no path leads to it, by "id".
class FileChanges {
public:
    // The account outlives this object.
    explicit FileChanges(Account& account) : account_(account) {}

    // `action` is what stands behind "/sandbox/files/".
    HttpResponse answer(std::string_view action, const Fields& fields);

private:
    HttpResponse add(const Fields& fields);
    HttpResponse remove(const File& file);
    HttpResponse rename(const File& file, const Fields& fields);
    HttpResponse replace(const File& file, const Fields& fields);
    HttpResponse move(const File& file, const Fields& fields);
    std::optional<File> named(const Fields& fields) const;

    Account& account_;
};

}  // namespace tovri::sandbox
