#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <vector>

namespace tovri::sandbox {

// The download links that were handed out. A link is told apart by its number, not by its file, so that one can expire
// and the next one for the same file work. Safe to use from any thread.
class Links {
public:
    using Clock = std::chrono::steady_clock;

    // How long a link works; none means for ever.
    explicit Links(std::optional<Clock::duration> lifetime) : lifetime_(lifetime) {}

    std::uint64_t issue();

    // From now on the link is refused with this status.
    void expire(std::uint64_t link, int status);

    // The status with which the storage host refuses the link; none when it works. Numbers never issued work too.
    std::optional<int> refusal(std::uint64_t link) const;

private:
    std::optional<Clock::duration> lifetime_;
    mutable std::mutex mutex_;
    std::vector<Clock::time_point> issuedAt_;
    std::map<std::uint64_t, int> expired_;
};

}  // namespace tovri::sandbox
