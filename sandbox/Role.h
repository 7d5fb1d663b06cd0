#pragma once

#include <optional>
#include <string_view>

namespace tovri::sandbox {

// The part that the sandbox plays in a request.
enum class Role {
    api,      // the REST API
    link,     // a look-up of a download link, which faults can tell from the rest of the API by the file's name
    upload,   // the upload endpoint
    storage,  // the host that the bytes come from, which must never see the token
    web,      // pages for a browser: the sign-in page
};

constexpr std::string_view nameOf(Role role) {
    switch (role) {
        case Role::api:
            return "api";
        case Role::link:
            return "link";
        case Role::upload:
            return "upload";
        case Role::storage:
            return "storage";
        case Role::web:
            return "web";
    }
    return "";
}

constexpr std::optional<Role> roleNamed(std::string_view name) {
    for (const Role role : {Role::api, Role::link, Role::upload, Role::storage, Role::web}) {
        if (nameOf(role) == name) return role;
    }
    return std::nullopt;
}

}  // namespace tovri::sandbox
