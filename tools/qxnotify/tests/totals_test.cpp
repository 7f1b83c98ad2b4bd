#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "qxnotify/listen_stats.h"
#include "qxnotify/listen_totals.h"
#include "qxnotify/publish_totals.h"

namespace qx::tool {
namespace {

TEST(ListenTotals, GivenCounts_WhenWrittenForPeople_ThenOneLine)
{
    EXPECT_EQ(totals_line(ListenTotals{4, 8, 10, 2}, 3.14, "SIGTERM"),
              "qxnotify listen: received 12 (8 instruments, 4 products), printed 10, filtered out 2; 3.1 s, ended by "
              "SIGTERM\n");
}

TEST(ListenTotals, GivenCounts_WhenWrittenForPrograms_ThenOneObjectUnderSummary)
{
    EXPECT_EQ(totals_json(ListenTotals{4, 8, 10, 2}, 3.1416, "count"),
              R"({"summary":{"received":12,"received_by_data_type":{"ProductDownloadRecord":4,)"
              R"("InstrumentDownloadRecord":8},"printed":10,"filtered":2,"seconds":3.142,"ended_by":"count"}})"
              "\n");
}

const Statistics some_stats{{"messages_received", 12}, {"messages_lost", 0}, {"copies_dropped", 0}, {"sources", 2}};

TEST(ListenStats, GivenCounters_WhenWrittenForPeople_ThenThoseThatCountedAndTheLossInAnyCase)
{
    EXPECT_EQ(stats_line(some_stats, 3.14),
              "qxnotify listen: transport after 3.1 s: messages_received 12, messages_lost 0, sources 2\n");
}

TEST(ListenStats, GivenCounters_WhenWrittenForPrograms_ThenAllUnderStats)
{
    EXPECT_EQ(stats_json(some_stats, 3.1416),
              R"({"stats":{"seconds":3.142,"messages_received":12,"messages_lost":0,"copies_dropped":0,"sources":2}})"
              "\n");
}

TEST(PublishTotals, GivenNothingSent_WhenWrittenForPeople_ThenNoKindIsNamed)
{
    EXPECT_EQ(totals_line(PublishTotals{}, 0, "end of input"),
              "qxnotify publish: sent 0, refused 0, 0 payload bytes; 0.0 s, ended by end of input\n");
}

TEST(PublishTotals, GivenCounts_WhenWrittenForPeople_ThenKindsThatOccurred)
{
    PublishTotals totals;
    totals.of(Fate::instrument) = 3;
    totals.of(Fate::bad_inner) = 1;
    totals.refused = 2;
    totals.bytes = 99;
    EXPECT_EQ(totals_line(totals, 1.06, "SIGINT"),
              "qxnotify publish: sent 4 (3 instrument, 1 bad_inner), refused 2, 99 payload bytes; 1.1 s, ended by "
              "SIGINT\n");
}

TEST(PublishTotals, GivenCounts_WhenWrittenForPrograms_ThenEveryKindIsThere)
{
    PublishTotals totals;
    totals.of(Fate::product) = 1;
    const auto object = nlohmann::json::parse(totals_json(totals, 2, "end of input"));
    EXPECT_EQ(object.at("sent"), 1);
    EXPECT_EQ(object.at("sent_by_kind"),
              nlohmann::json::parse(R"({"product":1,"instrument":0,"product_delete":0,"instrument_delete":0,)"
                                    R"("unsupported":0,"bad_inner":0,"no_reflection":0,"fatal":0})"));
    EXPECT_EQ(object.at("refused"), 0);
    EXPECT_EQ(object.at("bytes"), 0);
    EXPECT_EQ(object.at("seconds"), 2.0);
    EXPECT_EQ(object.at("ended_by"), "end of input");
}

} // namespace
} // namespace qx::tool
