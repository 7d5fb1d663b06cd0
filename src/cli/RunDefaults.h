#pragma once

#include <map>
#include <string>

#include "platform/UserDefaults.h"

namespace tovri::cli {

// The user's settings, with those that a command's arguments replace for this run. What is set goes to the settings
// beneath; what was replaced is never written.
class RunDefaults final : public UserDefaults {
public:
    // `stored` outlives this.
    explicit RunDefaults(UserDefaults& stored) : stored_(stored) {}

    void replaceString(std::string_view key, std::string value) {
        strings_.insert_or_assign(std::string(key), std::move(value));
    }

    void replaceBoolean(std::string_view key, bool value) { booleans_.insert_or_assign(std::string(key), value); }

    void replaceInteger(std::string_view key, std::int64_t value) {
        integers_.insert_or_assign(std::string(key), value);
    }

    [[nodiscard]] std::optional<std::string> string(std::string_view key) override {
        const auto found = strings_.find(key);
        return found == strings_.end() ? stored_.string(key) : std::optional(found->second);
    }

    [[nodiscard]] std::optional<std::int64_t> integer(std::string_view key) override {
        const auto found = integers_.find(key);
        return found == integers_.end() ? stored_.integer(key) : std::optional(found->second);
    }

    [[nodiscard]] std::optional<bool> boolean(std::string_view key) override {
        const auto found = booleans_.find(key);
        return found == booleans_.end() ? stored_.boolean(key) : std::optional(found->second);
    }

    [[nodiscard]] std::optional<ByteBlob> data(std::string_view key) override { return stored_.data(key); }

    void setString(std::string_view key, std::string_view value) override { stored_.setString(key, value); }

    void setBoolean(std::string_view key, bool value) override { stored_.setBoolean(key, value); }

    void setInteger(std::string_view key, std::int64_t value) override { stored_.setInteger(key, value); }

    void setData(std::string_view key, std::string_view bytes) override { stored_.setData(key, bytes); }

    void remove(std::string_view key) override { stored_.remove(key); }

private:
    UserDefaults& stored_;
    std::map<std::string, std::string, std::less<>> strings_;
    std::map<std::string, std::int64_t, std::less<>> integers_;
    std::map<std::string, bool, std::less<>> booleans_;
};

}  // namespace tovri::cli
