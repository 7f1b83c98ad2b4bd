#include "qxnotify/bench_figures.h"

#include <exception>
#include <numeric>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "qxnotify/percentile.h"

namespace qx::tool {
namespace {

std::vector<double> one_to(std::size_t count)
{
    std::vector<double> values(count);
    std::iota(values.begin(), values.end(), 1.0);
    return values;
}

const BenchLatencies some_latencies{55.04, 120.5, 300.25, 1234.5};
const BenchFigures some_figures{5'000, "", 2.5, some_latencies};

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

TEST(BenchFigures, GivenLatenciesInAnyOrder_WhenSummedUp_ThenPercentilesAndMaximum)
{
    auto values = one_to(10'000);
    std::swap(values.front(), values.back());
    std::swap(values[17], values[4'711]);
    EXPECT_EQ(summarise_bench(values), (BenchLatencies{5'000, 9'900, 9'990, 10'000}));
    EXPECT_EQ(summarise_bench({}), std::nullopt);
}

TEST(BenchFigures, GivenFigures_WhenTheyWentThroughThePipe_ThenTheyAreTheSame)
{
    for (const BenchFigures& figures : {some_figures, BenchFigures{0, "message \"1\"\ncame", 0, {}}}) {
        const std::string line = figures_line(figures);
        EXPECT_EQ(line.find('\n'), line.size() - 1);
        EXPECT_EQ(parse_figures(line), figures);
    }
    EXPECT_THROW(parse_figures(R"({"figures":1})"), std::exception);
}

TEST(BenchFigures, GivenRuns_WhenWrittenForPeople_ThenRowsUnderTheHeading)
{
    EXPECT_EQ(bench_heading(),
              "                      messages    a second      p50 us      p99 us    p99.9 us      max us\n");
    EXPECT_EQ(bench_row({5'000, {}, 1'500}, some_figures), "throughput                5000        2000\n");
    EXPECT_EQ(bench_row({5'000, 2'000, 1'500}, some_figures),
              "at 2000 a second          5000        2000        55.0       120.5       300.3      1234.5\n");
}

TEST(BenchFigures, GivenRuns_WhenWrittenForPrograms_ThenAnObjectALine)
{
    EXPECT_EQ(bench_json({5'000, {}, 1'500}, some_figures),
              R"({"run":"throughput","messages":5000,"payload_bytes":1500,"seconds":2.5,"messages_per_second":2000.0})"
              "\n");
    EXPECT_EQ(bench_json({5'000, 2'000, 1'500}, some_figures),
              R"({"run":"latency","rate":2000.0,"messages":5000,"payload_bytes":1500,"seconds":2.5,)"
              R"("messages_per_second":2000.0,"latency_us":{"p50":55.04,"p99":120.5,"p99.9":300.25,"max":1234.5}})"
              "\n");
}

} // namespace
} // namespace qx::tool
