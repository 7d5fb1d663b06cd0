#pragma once

#include <memory>
#include <string>

#include "platform/TextCollation.h"

namespace tovri {

// The rules of a language by ICU (the Unicode Collation Algorithm with the language's tailoring).
class ICUTextCollation final : public TextCollation {
public:
    // `locale` is like "de_DE" or "de_DE.UTF-8"; empty means the user's, "C" and "POSIX" no language in particular.
    explicit ICUTextCollation(const std::string& locale);
    ~ICUTextCollation() override;

    [[nodiscard]] std::string sortKey(std::string_view text) const override;
    [[nodiscard]] std::string searchKey(std::string_view text) const override;

private:
    struct Rules;

    std::unique_ptr<Rules> rules_;
};

}  // namespace tovri
