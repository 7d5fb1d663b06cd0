#include <optional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/Signal.h"

namespace tovri::test {
namespace {

using testing::ElementsAre;

TEST(Signal, observersMayComeAndGoWhileTheyAreTold) {
    Signal<int> signal;
    std::vector<std::string> told;
    Subscription second;
    Subscription late;
    Subscription first = signal.subscribe([&](int event) {
        told.push_back("first " + std::to_string(event));
        second.reset();
        first.reset();
        if (!late.isActive())
            late = signal.subscribe([&](int again) { told.push_back("late " + std::to_string(again)); });
    });
    second = signal.subscribe([&](int) { told.emplace_back("second"); });
    const Subscription third = signal.subscribe([&](int event) {
        told.push_back("third " + std::to_string(event));
        if (event == 1) signal.tell(2);
    });
    signal.tell(1);
    EXPECT_THAT(told, ElementsAre("first 1", "third 1", "third 2", "late 2"));
}

TEST(Signal, observerMayDestroyTheSignal) {
    std::optional<Signal<>> signal(std::in_place);
    int told = 0;
    Subscription one = signal->subscribe([&] {
        ++told;
        signal.reset();
    });
    Subscription other = signal->subscribe([&] { ++told; });
    signal->tell();
    EXPECT_GE(told, 1);
    one.reset();
    other.reset();
}

TEST(Subscription, releasesOnceWhereverItGoes) {
    int released = 0;
    {
        Subscription first([&] { ++released; });
        Subscription moved(std::move(first));
        Subscription other([&] { released += 10; });
        other = std::move(moved);
        EXPECT_EQ(released, 10);
        // Its release may come back to itself.
        Subscription* self = nullptr;
        Subscription cyclic([&] {
            ++released;
            self->reset();
        });
        self = &cyclic;
    }
    EXPECT_EQ(released, 12);
}

}  // namespace
}  // namespace tovri::test
