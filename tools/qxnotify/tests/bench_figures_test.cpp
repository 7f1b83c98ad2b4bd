#include "qxnotify/bench_figures.h"

#include <exception>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qx::tool {
namespace {

const Latencies some_latencies{30, 55.04, 99, 120.5, 300.25, 1234.5};
const BenchFigures some_figures{5'000, "", 2.5, some_latencies};

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
              R"("messages_per_second":2000.0,"latency_us":)"
              R"({"min":30.0,"p50":55.04,"p90":99.0,"p99":120.5,"p99.9":300.25,"max":1234.5}})"
              "\n");
}

} // namespace
} // namespace qx::tool
