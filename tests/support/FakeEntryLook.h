#pragma once

#include "platform/EntryLook.h"
#include "support/MemoryFileManager.h"

namespace tovri::test {

// What stands in the memory's folders, all of one date.
class FakeEntryLook final : public EntryLook {
public:
    explicit FakeEntryLook(MemoryFileManager& files) : files_(files) {}

    [[nodiscard]] std::optional<EntryFacts> look(const std::filesystem::path& path) override {
        if (!files_.exists(path)) return std::nullopt;
        const std::optional<ByteCount> size = files_.fileSize(path);
        return EntryFacts{.size = size, .modified = modified, .isFolder = !size};
    }

    Timestamp modified{std::chrono::sys_days(std::chrono::year(2024) / 3 / 4) + std::chrono::minutes(622)};

private:
    MemoryFileManager& files_;
};

}  // namespace tovri::test
