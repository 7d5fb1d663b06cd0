#pragma once

#include <map>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "platform/CredentialStore.h"
#include "platform/DiagnosticLog.h"
#include "platform/UserDefaults.h"

namespace tovri::test {

class MemoryCredentialStore final : public CredentialStore {
public:
    [[nodiscard]] std::optional<std::string> load(const std::string& account) override {
        const auto found = values.find(account);
        return found == values.end() ? std::nullopt : std::optional(found->second);
    }

    void save(const std::string& account, const std::string& value) override { values[account] = value; }

    void remove(const std::string& account) override { values.erase(account); }

    std::map<std::string, std::string> values;
};

class MemoryUserDefaults final : public UserDefaults {
public:
    [[nodiscard]] std::optional<std::string> string(std::string_view key) override { return get<std::string>(key); }

    [[nodiscard]] std::optional<bool> boolean(std::string_view key) override { return get<bool>(key); }

    [[nodiscard]] std::optional<std::int64_t> integer(std::string_view key) override { return get<std::int64_t>(key); }

    [[nodiscard]] std::optional<ByteBlob> data(std::string_view key) override {
        auto found = get<Data>(key);
        return found ? std::optional(std::move(found->bytes)) : std::nullopt;
    }

    void setString(std::string_view key, std::string_view value) override { set(key, std::string(value)); }

    void setBoolean(std::string_view key, bool value) override { set(key, value); }

    void setInteger(std::string_view key, std::int64_t value) override { set(key, value); }

    void setData(std::string_view key, std::string_view bytes) override { set(key, Data{ByteBlob(bytes)}); }

    void remove(std::string_view key) override {
        ++writes;
        values_.erase(std::string(key));
    }

    int writes = 0;  // assignments and removals

private:
    struct Data {
        ByteBlob bytes;
    };

    using Value = std::variant<std::string, bool, std::int64_t, Data>;

    template <class T>
    [[nodiscard]] std::optional<T> get(std::string_view key) const {
        const auto found = values_.find(key);
        if (found == values_.end() || !std::holds_alternative<T>(found->second)) return std::nullopt;
        return std::get<T>(found->second);
    }

    void set(std::string_view key, Value value) {
        ++writes;
        values_.insert_or_assign(std::string(key), std::move(value));
    }

    std::map<std::string, Value, std::less<>> values_;
};

class RecordingLog : public DiagnosticLog {
public:
    void line(std::string_view text) override { lines.emplace_back(text); }

    std::vector<std::string> lines;
};

}  // namespace tovri::test
