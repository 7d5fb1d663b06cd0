#include "platform/TextCollationContract.h"
#include "platform/icu/ICUTextCollation.h"

namespace tovri::test {
namespace {

INSTANTIATE_TEST_SUITE_P(ICU, TextCollationContract,
                         testing::Values([] { return std::make_unique<ICUTextCollation>(""); }));
INSTANTIATE_TEST_SUITE_P(ICUWithoutLanguage, TextCollationContract,
                         testing::Values([] { return std::make_unique<ICUTextCollation>("C.UTF-8"); }));

TEST(ICUTextCollation, ordersAsTheLanguageDoes) {
    const std::string zebra = "zebra";
    const std::string apples = "\xC3\xA4pplen";  // begins with an a umlaut: beside a in German, after z in Swedish
    const ICUTextCollation german("de_DE.UTF-8");
    const ICUTextCollation swedish("sv_SE");
    EXPECT_LT(german.sortKey(apples), german.sortKey(zebra));
    EXPECT_GT(swedish.sortKey(apples), swedish.sortKey(zebra));
    EXPECT_NE(german.sortKey("resume"), german.sortKey("r\xC3\xA9sum\xC3\xA9"));  // accents count
}

TEST(ICUTextCollation, findsLettersHoweverTheyAreWritten) {
    struct Case {
        const char* locale;
        const char* text;
        const char* part;
        bool isFound;
    };

    const Case cases[] = {
        {"en_US", "CAF\xC3\x89", "caf\xC3\xA9", true},
        {"en_US", "cafe\xCC\x81", "\xC3\xA9", true},              // the accent on its own, as some systems write names
        {"en_US", "stra\xC3\x9F\x65", "STRASSE", true},           // sharp s
        {"en_US", "bad \xFF byte", "BYTE", true},                 // no UTF-8
        {"en_US", "\xCE\x9F\xCE\xA3", "\xCE\xBF\xCF\x82", true},  // the Greek s at the end of a word
        {"en_US", "TITLE", "title", true},
        {"tr_TR", "TITLE", "title", false},
        {"tr_TR", "T\xC4\xB0TLE", "title", true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.locale) + " " + c.text);
        const ICUTextCollation collation(c.locale);
        EXPECT_EQ(collation.searchKey(c.text).contains(collation.searchKey(c.part)), c.isFound);
    }
}

}  // namespace
}  // namespace tovri::test
