#include "sample_records/random.h"

#include <cstdint>
#include <set>

#include <gtest/gtest.h>

namespace qx::sample {
namespace {

TEST(Random, GivenStandardSeed_WhenTenThousandthNumberIsDrawn_ThenItIsTheOneTheStandardNames)
{
    Random random{std::mt19937_64::default_seed};
    for (int i = 1; i < 10'000; ++i) {
        random.bits();
    }
    EXPECT_EQ(random.bits(), 9981545732273789042ULL);
}

TEST(Random, GivenLimitOne_WhenDrawing_ThenAlwaysZero)
{
    Random random{7};
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(random.below(1), 0U);
    }
}

TEST(Random, GivenRange_WhenDrawingOften_ThenBothEndsAndNothingElseOccur)
{
    Random random{7};
    std::set<std::uint64_t> seen;
    for (int i = 0; i < 1'000; ++i) {
        seen.insert(random.between(3, 5));
    }
    EXPECT_EQ(seen, (std::set<std::uint64_t>{3, 4, 5}));
}

TEST(Random, GivenCertainAndImpossibleChance_WhenDrawing_ThenTheyHold)
{
    Random random{7};
    for (int i = 0; i < 100; ++i) {
        EXPECT_TRUE(random.chance(100));
        EXPECT_FALSE(random.chance(0));
    }
}

TEST(SeriesSeed, GivenNeighbours_WhenMixed_ThenNoTwoAreEqual)
{
    std::set<std::uint64_t> seeds;
    for (std::uint64_t seed = 0; seed < 10; ++seed) {
        for (std::uint64_t index = 0; index < 100; ++index) {
            seeds.insert(series_seed(seed * 1'000, index));
        }
    }
    EXPECT_EQ(seeds.size(), 1'000U);
}

} // namespace
} // namespace qx::sample
