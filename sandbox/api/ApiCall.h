#pragma once

#include <string>
#include <string_view>

#include "sandbox/account/Account.h"
#include "sandbox/api/Fields.h"
#include "sandbox/http/HttpServer.h"

namespace tovri::sandbox {

// A request to the API whose token was found good.
struct ApiCall {
    std::string_view method;
    std::string_view path;                                   // without "/v2"
    Fields fields;                                           // of the query and the form
    bool staleCursor = false;                                // a cursor in the answer is to be good for nothing
    std::optional<std::uint64_t> listedSize = std::nullopt;  // what each file's record is to say

    bool isPost(std::string_view postPath) const { return method == "POST" && path == postPath; }

    bool isGet(std::string_view getPath) const { return method == "GET" && path == getPath; }

    // Empty when the field is missing.
    std::string_view text(std::string_view name) const { return valueOf(fields, name).value_or(""); }

    bool isTrue(std::string_view name) const { return text(name) == "true"; }

    // None when the field is missing or no number.
    std::optional<std::int64_t> number(std::string_view name) const;

    // The numbers of a field like "5,17,3".
    std::vector<std::int64_t> numbers(std::string_view name) const;
};

// None when the text is no whole number.
std::optional<std::int64_t> parseID(std::string_view text);

}  // namespace tovri::sandbox
