#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "base/Error.h"

namespace tovri {

// A failure that trying again may mend.
struct Fault {
    enum class Blame {
        item,         // of what was asked for, as far as anybody can know
        perhapsHost,  // of the host, if it meets another item too
        host,         // the host is away, or wants to be left alone
    };

    Blame blame = Blame::item;
    std::string reason = {};                            // "HTTP error 503": a part of a sentence
    std::optional<std::chrono::seconds> comeBack = {};  // when the server wants to be asked again
    bool hasAnswered = false;                           // there is a server
    bool isRefusedForPace = false;                      // there were too many requests
    bool isOver = false;                                // nothing has to be waited for
};

// None for a failure that would come again.
[[nodiscard]] std::optional<Fault> faultOf(const Error& error);

// Whether a link is refused that may have been good once: a new one may be better.
[[nodiscard]] bool isExpiredLink(const Error& error);

}  // namespace tovri
