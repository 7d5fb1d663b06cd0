#pragma once

#include "platform/EntryLook.h"

namespace tovri {

// What stat(2) says.
class PosixEntryLook final : public EntryLook {
public:
    [[nodiscard]] std::optional<EntryFacts> look(const std::filesystem::path& path) override;
};

}  // namespace tovri
