// What a listener process says of the transport's counters.

#include <csignal>

#include <gmock/gmock.h>

#include "qxnotify_fixture.h"

namespace qx::system_test {
namespace {

using testing::Ge;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

std::vector<json> stats_of(const Process& listener)
{
    std::vector<json> stats;
    for (const std::string& line : listener.output_lines()) {
        const json object = json::parse(line);
        if (object.contains("stats")) {
            stats.push_back(object.at("stats"));
        }
    }
    return stats;
}

TEST_F(QxNotify, GivenStats_WhenTheListenerEnds_ThenTheyStandBetweenTheRecordsAndTheSummary)
{
    const auto listener = listen({"42", "--format", "json", "--count", "3", "--stats"});
    publish_lines({product_line(42, 1), product_line(42, 2), instrument_line(42, 3)});
    ASSERT_EQ(listener->wait(), exited(0)) << listener->error();
    const auto lines = listener->output_lines();
    ASSERT_THAT(lines, SizeIs(5));
    const json stats = json::parse(lines[3]).at("stats");
    EXPECT_THAT(stats.at("messages_received").get<int>(), Ge(3));
    EXPECT_THAT(stats.at("bytes_received").get<int>(), Ge(3));
    EXPECT_EQ(stats.at("messages_lost"), 0);
    EXPECT_EQ(summary_of(*listener).at("printed"), 3);
}

TEST_F(QxNotify, GivenNoStats_WhenTheListenerEnds_ThenItDoesNotSpeakOfTheTransport)
{
    const auto listener = listen({"42", "--timeout", "0.05"}, {{"QX_LOG_LEVEL", "QXLOG_WARNING"}});
    EXPECT_EQ(listener->wait(), exited(0));
    EXPECT_THAT(listener->error(), Not(HasSubstr("qxnotify listen: transport")));
}

TEST_F(QxNotify, GivenStats_WhenTheListenerWritesForPeople_ThenOneLineOnStandardError)
{
    const auto listener = listen({"42", "--stats"});
    listener->send_signal(SIGTERM);
    EXPECT_EQ(listener->wait(), exited(0));
    EXPECT_THAT(listener->error(), HasSubstr(" s: messages_received 0, "));
    EXPECT_THAT(listener->error(), HasSubstr("messages_lost 0"));
    EXPECT_THAT(listener->output(), IsEmpty());
}

TEST_F(QxNotify, GivenAnInterval_WhenTimePasses_ThenTheCountersAreToldAgainAndAgainAndAtTheEnd)
{
    const auto listener = listen({"42", "--format", "json", "--stats-interval", "0.1"});
    ASSERT_TRUE(listener->until_output_lines(3));
    listener->send_signal(SIGTERM);
    ASSERT_EQ(listener->wait(), exited(0));
    const auto stats = stats_of(*listener);
    ASSERT_THAT(stats, SizeIs(Ge(4U)));
    EXPECT_LT(stats[0].at("seconds").get<double>(), stats[1].at("seconds").get<double>());
    EXPECT_EQ(summary_of(*listener).at("ended_by"), "SIGTERM");
}

TEST_F(QxNotify, GivenAnInterval_WhenASourceIsThere_ThenItIsSeen)
{
    const auto listener = listen({"42", "--format", "json", "--stats-interval", "0.1"});
    const auto publisher = start_publish({"--generate", "1000000", "--rate", "50", "--size", "small"});
    EXPECT_TRUE(listener->until([&] {
        const auto stats = stats_of(*listener);
        return !stats.empty() && stats.back().at("sources") > 0 && stats.back().at("messages_received") > 0;
    })) << listener->error();
    publisher->send_signal(SIGTERM);
    EXPECT_EQ(publisher->wait(), exited(9));
}

TEST_F(QxNotify, GivenAnInterval_WhenNobodyReadsTheOutputAnyMore_ThenTheListenerIsDone)
{
    const auto listener = listen({"42", "--format", "json", "--stats-interval", "0.1"});
    listener->close_output();
    EXPECT_EQ(listener->wait(), exited(0)) << listener->error();
}

} // namespace
} // namespace qx::system_test
