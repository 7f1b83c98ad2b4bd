#include "qxnotify/latencies.h"

#include <numeric>
#include <utility>

#include <gtest/gtest.h>

namespace qx::tool {
namespace {

std::vector<double> one_to(std::size_t count)
{
    std::vector<double> values(count);
    std::iota(values.begin(), values.end(), 1.0);
    return values;
}

TEST(Latencies, GivenNothing_WhenSummarised_ThenNone)
{
    EXPECT_FALSE(summarise({}).has_value());
}

TEST(Latencies, GivenOneValue_WhenSummarised_ThenItIsEverything)
{
    EXPECT_EQ(summarise({3}), (Latencies{3, 3, 3, 3, 3, 3}));
}

TEST(Latencies, GivenManyValuesInAnyOrder_WhenSummarised_ThenTheRanksAreTaken)
{
    auto values = one_to(10'000);
    std::swap(values.front(), values.back());
    std::swap(values[17], values[4'711]);
    EXPECT_EQ(summarise(values), (Latencies{1, 5'000, 9'000, 9'900, 9'990, 10'000}));
}

TEST(Latencies, GivenTenValues_WhenSummarised_ThenTheHighestPercentilesAreTheLargest)
{
    EXPECT_EQ(summarise(one_to(10)), (Latencies{1, 5, 9, 10, 10, 10}));
}

TEST(Percentile, GivenOneValue_WhenAnyIsAsked_ThenThatValue)
{
    for (const std::size_t per_mille : {0U, 1U, 500U, 999U, 1'000U}) {
        EXPECT_EQ(percentile({7.0}, per_mille), 7.0) << per_mille;
    }
}

TEST(Percentile, GivenAThousandValues_WhenAsked_ThenTheNearestRank)
{
    const auto values = one_to(1'000);
    EXPECT_EQ(percentile(values, 0), 1);
    EXPECT_EQ(percentile(values, 1), 1);
    EXPECT_EQ(percentile(values, 2), 2);
    EXPECT_EQ(percentile(values, 500), 500);
    EXPECT_EQ(percentile(values, 999), 999);
    EXPECT_EQ(percentile(values, 1'000), 1'000);
}

TEST(Percentile, GivenARankBetweenTwo_WhenAsked_ThenTheHigherOne)
{
    EXPECT_EQ(percentile(one_to(3), 500), 2);
    EXPECT_EQ(percentile(one_to(4), 500), 2);
    EXPECT_EQ(percentile(one_to(4), 501), 3);
    EXPECT_EQ(percentile(one_to(10), 999), 10);
    EXPECT_EQ(percentile(one_to(1'001), 999), 1'000);
}

} // namespace
} // namespace qx::tool
