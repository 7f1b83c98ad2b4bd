/// Sets of numbers as runs.
#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <set>

#include "platform/transport/source/number_runs.h"

using qx::transport::NumberRuns;

namespace {

constexpr std::uint32_t highest = std::numeric_limits<std::uint32_t>::max();

TEST(NumberRuns, GivenNone_WhenAsked_ThenItContainsNothing)
{
    const NumberRuns runs{10};
    EXPECT_TRUE(runs.empty());
    EXPECT_FALSE(runs.contains(0));
    EXPECT_FALSE(runs.contains(highest));
}

TEST(NumberRuns, GivenNumbersInOrder_WhenInserted_ThenTheyAreOneRun)
{
    NumberRuns runs{10};
    for (std::uint32_t n = 0; n < 1'000'000; ++n) {
        runs.insert(n);
    }
    EXPECT_EQ(runs.runs(), 1U);
    EXPECT_TRUE(runs.contains(999'999));
    EXPECT_FALSE(runs.contains(1'000'000));
}

TEST(NumberRuns, GivenBothEndsOfTheRange_WhenInserted_ThenTheyDoNotMeet)
{
    NumberRuns runs{10};
    runs.insert(highest);
    runs.insert(0);
    runs.insert(highest - 1);
    EXPECT_EQ(runs.runs(), 2U);
    EXPECT_TRUE(runs.contains(highest));
    EXPECT_FALSE(runs.contains(1));
}

TEST(NumberRuns, GivenAHole_WhenItIsFilled_ThenTwoRunsAreOne)
{
    NumberRuns runs{10};
    runs.insert(1);
    runs.insert(3);
    runs.insert(3);
    EXPECT_EQ(runs.runs(), 2U);
    EXPECT_FALSE(runs.contains(2));
    runs.insert(2);
    EXPECT_EQ(runs.runs(), 1U);
}

TEST(NumberRuns, GivenAnyOrder_WhenInserted_ThenItContainsThoseAndNoOthers)
{
    NumberRuns runs{1'000};
    std::set<std::uint32_t> expected;
    std::mt19937 random{1};
    for (int i = 0; i < 500; ++i) {
        const auto number = static_cast<std::uint32_t>(random() % 700);
        expected.insert(number);
        runs.insert(number);
    }
    for (std::uint32_t n = 0; n < 700; ++n) {
        EXPECT_EQ(runs.contains(n), expected.contains(n)) << n;
    }
}

TEST(NumberRuns, GivenMoreRunsThanItKeeps_WhenInserted_ThenTheLowestHoleIsClosed)
{
    NumberRuns runs{3};
    for (const std::uint32_t n : {10U, 20U, 30U, 40U}) {
        runs.insert(n);
    }
    EXPECT_EQ(runs.runs(), 3U);
    EXPECT_TRUE(runs.contains(15));
    EXPECT_FALSE(runs.contains(25));
    EXPECT_FALSE(runs.contains(9));
}

} // namespace
