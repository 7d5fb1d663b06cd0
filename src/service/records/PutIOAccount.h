#pragma once

#include <optional>
#include <string>

#include "base/Bytes.h"
#include "service/records/JSONField.h"

namespace tovri {

// The user's account.
struct PutIOAccount {
    struct Disk {
        std::optional<ByteCount> used;
        std::optional<ByteCount> size;

        bool operator==(const Disk&) const = default;

        static constexpr auto jsonFields() {
            return jsonFieldList(JSONField{"used", &Disk::used}, JSONField{"size", &Disk::size});
        }
    };

    std::string username;
    std::optional<std::string> mail;
    std::optional<std::string> avatarURL;
    std::optional<Disk> disk;

    bool operator==(const PutIOAccount&) const = default;

    static constexpr auto jsonFields() {
        return jsonFieldList(JSONField{"username", &PutIOAccount::username}, JSONField{"mail", &PutIOAccount::mail},
                             JSONField{"avatar_url", &PutIOAccount::avatarURL}, JSONField{"disk", &PutIOAccount::disk});
    }
};

// The service's answer to who is signed in.
struct PutIOAccountResponse {
    PutIOAccount info;

    bool operator==(const PutIOAccountResponse&) const = default;

    static constexpr auto jsonFields() { return jsonFieldList(JSONField{"info", &PutIOAccountResponse::info}); }
};

}  // namespace tovri
