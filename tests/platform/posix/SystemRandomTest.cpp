#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/posix/loop/SystemRandom.h"

namespace tovri::test {
namespace {

TEST(SystemRandom, makesIdentifiersThatSayWhatTheyAreAndDiffer) {
    constexpr std::size_t count = 1000;
    std::set<UUID> made;
    for (std::size_t i = 0; i < count; ++i) made.insert(SystemRandom().makeUUID());
    EXPECT_EQ(made.size(), count);
    for (const UUID& id : made) ASSERT_THAT(id.text(), testing::MatchesRegex(".{14}4.{4}[89AB].{16}"));
}

}  // namespace
}  // namespace tovri::test
