#include "platform/icu/ICUTextCollation.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/normalizer2.h>
#include <unicode/unistr.h>

namespace tovri {
namespace {

// The POSIX locale orders bytes; people do not.
icu::Locale languageOf(const std::string& name) {
    icu::Locale locale = name.empty() ? icu::Locale::getDefault() : icu::Locale::createFromName(name.c_str());
    const bool isNoLanguage = std::string_view(locale.getVariant()) == "POSIX" || name == "C" || name.starts_with("C.");
    return isNoLanguage ? icu::Locale::getRoot() : locale;
}

icu::UnicodeString unicode(std::string_view text) {
    return icu::UnicodeString::fromUTF8({text.data(), static_cast<std::int32_t>(text.size())});
}

bool isASCII(std::string_view text) {
    return std::ranges::all_of(text, [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

std::string lowercasedASCII(std::string_view text) {
    std::string lowercased(text);
    for (char& letter : lowercased)
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    return lowercased;
}

// Turkish and Azerbaijani know a small i without a dot.
std::uint32_t foldingOf(const icu::Locale& locale) {
    const std::string_view language = locale.getLanguage();
    return language == "tr" || language == "az" ? U_FOLD_CASE_EXCLUDE_SPECIAL_I : U_FOLD_CASE_DEFAULT;
}

}  // namespace

struct ICUTextCollation::Rules {
    std::unique_ptr<icu::Collator> collator;  // null when ICU's data are missing
    const icu::Normalizer2* composition = nullptr;
    std::uint32_t folding = U_FOLD_CASE_DEFAULT;
};

ICUTextCollation::ICUTextCollation(const std::string& locale) : rules_(std::make_unique<Rules>()) {
    const icu::Locale language = languageOf(locale);
    rules_->folding = foldingOf(language);
    UErrorCode error = U_ZERO_ERROR;
    rules_->collator.reset(icu::Collator::createInstance(language, error));
    if (U_FAILURE(error)) rules_->collator.reset();
    if (rules_->collator) rules_->collator->setStrength(icu::Collator::SECONDARY);  // letters and accents, not case
    error = U_ZERO_ERROR;
    rules_->composition = icu::Normalizer2::getNFCInstance(error);
}

ICUTextCollation::~ICUTextCollation() = default;

std::string ICUTextCollation::sortKey(std::string_view text) const {
    if (!rules_->collator) return searchKey(text);
    const icu::UnicodeString letters = unicode(text);
    std::array<std::uint8_t, 512> key{};
    const std::int32_t size = rules_->collator->getSortKey(letters, key.data(), key.size());
    if (static_cast<std::size_t>(size) <= key.size()) return {key.begin(), key.begin() + std::max(size - 1, 0)};
    std::string longKey(static_cast<std::size_t>(size), '\0');
    rules_->collator->getSortKey(letters, reinterpret_cast<std::uint8_t*>(longKey.data()), size);
    longKey.pop_back();  // the zero at its end
    return longKey;
}

std::string ICUTextCollation::searchKey(std::string_view text) const {
    if (rules_->folding == U_FOLD_CASE_DEFAULT && isASCII(text)) return lowercasedASCII(text);
    icu::UnicodeString letters = unicode(text);
    letters.foldCase(rules_->folding);
    std::string key;
    if (rules_->composition) {
        UErrorCode error = U_ZERO_ERROR;
        icu::UnicodeString composed = rules_->composition->normalize(letters, error);
        if (U_SUCCESS(error)) letters = std::move(composed);
    }
    return letters.toUTF8String(key);
}

}  // namespace tovri
