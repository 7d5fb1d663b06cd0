#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace tovri::test {

// A fresh folder on the disk that goes with all that it holds.
class TemporaryFolder {
public:
    explicit TemporaryFolder(const std::filesystem::path& parent = std::filesystem::temp_directory_path()) {
        std::string name = parent / "tovri-test-XXXXXX";
        if (::mkdtemp(name.data()) == nullptr) std::abort();
        path = name;
    }

    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }

    std::filesystem::path path;
};

}  // namespace tovri::test
