#pragma once

#include "screens/Placeholder.h"

namespace tovri {

// What the window shows while the keyring, which has the account, does not answer: it may wait to be unlocked.
struct KeyringWait {
    static constexpr const char* text =
        "Waiting for the keyring that keeps your put.io account. It may ask for its password in a window of its own.";
    static constexpr const char* goOnLabel = "Go On Without It";  // as on a desktop that has no keyring

    [[nodiscard]] static Placeholder placeholder() {
        Placeholder waiting = progressPlaceholder(text);
        waiting.button = goOnLabel;
        return waiting;
    }
};

}  // namespace tovri
