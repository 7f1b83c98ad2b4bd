// What monitoring systems read.
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "qxnotify/triage_report.h"

namespace qx::tool {
namespace {

using testing::HasSubstr;
using testing::Not;

TriageReport report_of(const std::string& source, const TriageThresholds& thresholds = {},
                       const Inventory& inventory = {})
{
    TriageQuestion question;
    question.request = "ping";
    question.topic = "TRIAGE.ACTION.DEV.LBM";
    question.thresholds = thresholds;
    question.inventory = inventory;
    TriageTally tally;
    tally.begin_round();
    tally.add({source, 1.2, ""});
    tally.complete_round();
    return make_report(question, tally, "completion");
}

TEST(TriageNagios, GivenAnswers_WhenWritten_ThenOneLineWithPerformanceData)
{
    EXPECT_EQ(report_nagios(report_of("a", {20, 100})),
              "TRIAGE OK - 1 answered, slowest 1.2 ms | responders=1;;;0 slowest=1.2ms;20;100;0 lost=0;;;0\n");
}

TEST(TriageNagios, GivenNobody_WhenWritten_ThenNoLatency)
{
    EXPECT_EQ(report_nagios(make_report({}, TriageTally{}, "completion")),
              "TRIAGE CRITICAL - 0 answered | responders=0;;;0 lost=0;;;0\n");
}

TEST(TriageNagios, GivenMissingNameWithABar_WhenWritten_ThenItCannotBeginThePerformanceData)
{
    EXPECT_THAT(report_nagios(report_of("a", {}, {{"x|y", "10.0.0.1"}})),
                testing::StartsWith("TRIAGE CRITICAL - 0 of 1 answered; missing x/y, slowest 1.2 ms | "));
}

TEST(TriageNagios, GivenTextOfSeveralLinesWithABar_WhenMadeFit_ThenOneLineWithoutIt)
{
    EXPECT_EQ(nagios_text("a|b\nc\rd\x1b\x7f \xc3\xa9"), "a/b c d   \xc3\xa9");
}

TEST(TriagePrometheus, GivenReport_WhenWritten_ThenEveryMetricHasHelpAndTypeOnceAndBeforeItsSamples)
{
    std::istringstream lines(report_prometheus(report_of("a", {}, {{"price-1", "*"}, {"price-2", "10.0.0.2"}})));
    std::string metric;
    int metrics = 0;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("# HELP ")) {
            metric = line.substr(7, line.find(' ', 7) - 7);
            ++metrics;
            ASSERT_TRUE(std::getline(lines, line));
            EXPECT_EQ(line, "# TYPE " + metric + " gauge");
        } else {
            EXPECT_TRUE(line.starts_with(metric + "{")) << line;
        }
    }
    EXPECT_EQ(metrics, 10);
}

TEST(TriagePrometheus, GivenReport_WhenWritten_ThenSamplesAreLabelledAndInSeconds)
{
    const auto text = report_prometheus(report_of("a", {}, {{"price-1", "*"}, {"price-2", "10.0.0.2"}}));
    const std::string topic = "{topic=\"TRIAGE.ACTION.DEV.LBM\"";
    EXPECT_THAT(text, HasSubstr("qxnotify_triage_state" + topic + "} 2\n"));
    EXPECT_THAT(text, HasSubstr("qxnotify_triage_up" + topic + ",name=\"price-2\"} 0\n"));
    EXPECT_THAT(text, HasSubstr("qxnotify_triage_latency_seconds" + topic +
                                ",source=\"a\",name=\"price-1\",statistic=\"p99\"} 0.001200\n"));
}

TEST(TriagePrometheus, GivenSourceWithQuotesAndLineFeeds_WhenWritten_ThenEscaped)
{
    const auto text = report_prometheus(report_of("a\"b\\c\nd\x1b"));
    EXPECT_THAT(text, HasSubstr(R"(source="a\"b\\c\nd?")"));
    EXPECT_THAT(text, Not(HasSubstr("\nd")));
}

TEST(TriagePrometheus, GivenNobody_WhenWritten_ThenNoSamplesOfResponders)
{
    const auto text = report_prometheus(make_report({}, TriageTally{}, "completion"));
    EXPECT_THAT(text, HasSubstr("qxnotify_triage_answered{topic=\"\"} 0\n"));
    EXPECT_THAT(text, Not(HasSubstr("latency")));
}

} // namespace
} // namespace qx::tool
