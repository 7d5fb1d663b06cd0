#pragma once

#include <string>

#include "platform/TextCollation.h"

namespace tovri::test {

// A language that has the letters a to z and no others.
class PlainTextCollation final : public TextCollation {
public:
    [[nodiscard]] std::string sortKey(std::string_view text) const override { return searchKey(text); }

    [[nodiscard]] std::string searchKey(std::string_view text) const override {
        std::string key(text);
        for (char& letter : key)
            if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
        return key;
    }
};

}  // namespace tovri::test
