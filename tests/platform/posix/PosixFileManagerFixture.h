#pragma once

#include <filesystem>
#include <iterator>
#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "platform/posix/files/PosixFileManager.h"
#include "support/TemporaryFolder.h"

namespace tovri::test {

using Path = std::filesystem::path;

class PosixFileManagerTest : public testing::Test {
public:
    std::string content(const Path& path) { return files.readFile(path).value_or("<none>"); }

    static unsigned mode(const Path& path) {
        struct stat status{};
        ::stat(path.c_str(), &status);
        return status.st_mode & 0777U;
    }

    static std::size_t entriesIn(const Path& path) {
        return static_cast<std::size_t>(
            std::distance(std::filesystem::directory_iterator(path), std::filesystem::directory_iterator()));
    }

    PosixFileManager files;
    TemporaryFolder folder;
    Path here = folder.path;
};

}  // namespace tovri::test
