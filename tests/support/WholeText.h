#pragma once

#include <string>

#include "platform/FileManager.h"

namespace tovri::test {

// What a file with that content holds.
inline std::string wholeText(const FileManager::Content& content) {
    std::string text;
    const Result<void> given = content([&](std::string_view piece) {
        text += piece;
        return Result<void>();
    });
    return given ? text : given.error().description;
}

}  // namespace tovri::test
