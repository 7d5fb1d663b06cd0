#pragma once

#include <functional>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "platform/TextCollation.h"

namespace tovri::test {

class TextCollationContract : public testing::TestWithParam<std::function<std::unique_ptr<TextCollation>()>> {
public:
    // "<", "=" or ">"
    [[nodiscard]] std::string order(std::string_view left, std::string_view right) const {
        const auto order = collation->sortKey(left) <=> collation->sortKey(right);
        return order < 0 ? "<" : order > 0 ? ">" : "=";
    }

    [[nodiscard]] bool contains(std::string_view text, std::string_view part) const {
        return collation->searchKey(text).contains(collation->searchKey(part));
    }

    std::unique_ptr<TextCollation> collation = GetParam()();
};

TEST_P(TextCollationContract, ordersByLettersWhateverTheirCase) {
    EXPECT_EQ(order("apple", "Banana"), "<");
    EXPECT_EQ(order("Cherry", "banana"), ">");
    EXPECT_EQ(order("README", "readme"), "=");
    EXPECT_EQ(order("read", "readme"), "<");
    EXPECT_EQ(order("", "a"), "<");
    EXPECT_EQ(order(std::string(2000, 'x') + "a", std::string(2000, 'X') + "B"), "<");
}

TEST_P(TextCollationContract, findsPartsWhateverTheirCase) {
    EXPECT_TRUE(contains("Movie.mkv", "mov"));
    EXPECT_TRUE(contains("MOVIES", "mov"));
    EXPECT_TRUE(contains("caf\xC3\xA9", "\xC3\xA9"));
    EXPECT_TRUE(contains("anything", ""));
    EXPECT_FALSE(contains("Music", "mov"));
    EXPECT_FALSE(contains("caf\xC3\xA9", "cafe"));
    EXPECT_FALSE(contains("mov", "movie"));
}

}  // namespace tovri::test
