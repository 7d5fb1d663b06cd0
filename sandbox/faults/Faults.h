#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "sandbox/Role.h"

namespace tovri::sandbox {

// What an answer with a forced status carries.
enum class FaultBody { json, html, empty };

// A deviation from what the service would answer, for the requests that it is meant for. Every field that is set has
// its effect; FaultSettings.h lists them for users.
struct Fault {
    using Seconds = std::chrono::duration<double>;

    Role role = Role::api;
    std::string pattern = "*";  // a shell pattern for the file's name or the path, or "#ID"
    std::optional<std::uint64_t> times;
    std::uint64_t after = 0;
    std::optional<Seconds> lasts;            // from its first use on
    std::optional<std::uint64_t> perSecond;  // so many requests pass in each second

    std::optional<int> status;
    FaultBody body = FaultBody::json;
    std::optional<std::string> retryAfter;
    std::optional<std::string> rateLimitReset;
    std::optional<std::string> redirect;
    std::optional<std::string> link;
    bool staleCursor = false;
    std::optional<std::uint64_t> listedSize;
    bool drop = false;
    Seconds delay{0};

    std::optional<std::uint64_t> cut;
    std::optional<std::uint64_t> stall;
    std::optional<Seconds> stallFor;
    std::optional<std::uint64_t> rate;  // bytes per second
    std::int64_t announceMore = 0;
    bool hidesLength = false;
    std::optional<std::uint64_t> size;
    std::optional<std::string> encoding;
    bool ignoreRange = false;
    bool ignoreIfRange = false;
    std::int64_t rangeShift = 0;
    std::int64_t rangeTotalMore = 0;
    bool noValidator = false;
    bool weakValidator = false;
    bool otherValidator = false;
    bool changeContent = false;
    std::optional<int> expire;  // the status with which an expired link is refused

    std::string text;  // as it was written
};

// The faults that are in force. Safe to use from any thread.
class Faults {
public:
    void add(Fault fault);
    void clear();

    // The first fault, in the order in which they were added, that is meant for a request with one of these names and
    // that is not used up. Counts as one use of it.
    std::optional<Fault> take(Role role, std::span<const std::string> names);

    struct Use {
        std::string text;
        std::uint64_t count;
    };

    // How often each fault struck, in the order in which they were added.
    std::vector<Use> uses() const;

private:
    using Clock = std::chrono::steady_clock;

    struct Entry {
        explicit Entry(Fault added) : fault(std::move(added)) {}

        Fault fault;
        std::uint64_t seen = 0;
        std::uint64_t used = 0;
        Clock::time_point begun;        // of its first use
        Clock::time_point secondBegun;  // that is counted
        std::uint64_t passedInIt = 0;
    };

    [[nodiscard]] static bool strikes(Entry& entry);

    mutable std::mutex mutex_;
    std::vector<Entry> entries_;
};

}  // namespace tovri::sandbox
