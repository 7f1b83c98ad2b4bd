#include "qxnotify/triage_report.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace qx::tool {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr const char* source_1 = "LBMDDS:10.0.0.1:4711:00000000000000aa";
constexpr const char* source_3 = "LBMDDS:10.0.0.1:4712:00000000000000cc";
constexpr const char* source_2 = "LBMDDS:10.0.0.2:4711:00000000000000bb";

TriageQuestion question()
{
    TriageQuestion made;
    made.request = "ping";
    made.topic = "TRIAGE.ACTION.DEV.LBM";
    return made;
}

/// One complete round with these answers.
TriageTally one_round(const std::vector<TriageAnswer>& answers)
{
    TriageTally tally;
    tally.begin_round();
    for (const TriageAnswer& answer : answers) {
        tally.add(answer);
    }
    tally.complete_round();
    return tally;
}

/// Complete rounds, in each of which these sources answered.
TriageTally rounds(const std::vector<std::vector<std::string>>& all)
{
    TriageTally tally;
    for (const auto& sources : all) {
        tally.begin_round();
        for (const std::string& source : sources) {
            tally.add({source, 1, ""});
        }
        tally.complete_round();
    }
    return tally;
}

TriageReport report_of(const TriageQuestion& asked, const std::vector<TriageAnswer>& answers)
{
    return make_report(asked, one_round(answers), "completion");
}

TEST(TriageVerdict, GivenNobody_WhenJudged_ThenCritical)
{
    EXPECT_EQ(report_of(question(), {}).code, TriageExit::critical);
    EXPECT_EQ(make_report(question(), TriageTally{}, "completion").code, TriageExit::critical);
}

TEST(TriageVerdict, GivenAnswerAndNoExpectation_WhenJudged_ThenOk)
{
    EXPECT_EQ(report_of(question(), {{source_1, 1, ""}}).code, TriageExit::ok);
}

TEST(TriageVerdict, GivenFewerThanExpected_WhenJudged_ThenCriticalAndCounted)
{
    auto asked = question();
    asked.expected = 3;
    const auto report = report_of(asked, {{source_1, 1, ""}});
    EXPECT_EQ(report.code, TriageExit::critical);
    EXPECT_EQ(headline(report), "1 of 3 answered; 2 missing");
}

TEST(TriageVerdict, GivenProcessThatComesBackAsAnother_WhenJudged_ThenItCountsOnceAsInAnyRound)
{
    auto asked = question();
    asked.expected = 2;
    const auto report = make_report(asked, rounds({{source_1}, {source_2}, {source_3}}), completion);
    EXPECT_EQ(report.code, TriageExit::critical);
    EXPECT_EQ(headline(report), "1 of 2 answered; 1 missing");
    EXPECT_EQ(make_report(asked, rounds({{source_1}, {source_2, source_3}}), completion).missing_count(), 0U);
}

TEST(TriageVerdict, GivenSignalBeforeTheFirstRequest_WhenJudged_ThenUnknown)
{
    EXPECT_EQ(make_report(question(), TriageTally{}, "SIGTERM").code, TriageExit::unknown);
    EXPECT_EQ(make_report(question(), rounds({{}}), "SIGTERM").code, TriageExit::critical);
}

TEST(TriageVerdict, GivenMoreThanExpected_WhenJudged_ThenOk)
{
    auto asked = question();
    asked.expected = 1;
    const auto report = report_of(asked, {{source_1, 1, ""}, {source_2, 1, ""}});
    EXPECT_EQ(report.code, TriageExit::ok);
    EXPECT_EQ(report.missing_count(), 0U);
}

TEST(TriageVerdict, GivenThresholds_WhenTheSlowestIsAtThem_ThenOnlyBeyondCounts)
{
    auto asked = question();
    asked.thresholds = {10, 20};
    EXPECT_EQ(report_of(asked, {{source_1, 10, ""}}).code, TriageExit::ok);
    EXPECT_EQ(report_of(asked, {{source_1, 10.1, ""}}).code, TriageExit::warning);
    EXPECT_EQ(report_of(asked, {{source_1, 20, ""}}).code, TriageExit::warning);
    EXPECT_EQ(report_of(asked, {{source_1, 1, ""}, {source_2, 20.1, ""}}).code, TriageExit::critical);
}

TEST(TriageVerdict, GivenUnansweredRequest_WhenJudged_ThenWarning)
{
    auto tally = one_round({{source_1, 1, ""}});
    tally.begin_round();
    tally.complete_round();
    EXPECT_EQ(make_report(question(), tally, "completion").code, TriageExit::warning);
}

TEST(TriageVerdict, GivenFaultyAnswerBesideAGoodOne_WhenJudged_ThenWarning)
{
    EXPECT_EQ(report_of(question(), {{source_1, 1, ""}, {source_2, 1, "status 1"}}).code, TriageExit::warning);
}

TEST(TriageVerdict, GivenDroppedAnswers_WhenJudged_ThenWarningAndEveryFormSaysHowMany)
{
    auto tally = one_round({{source_1, 1, ""}});
    tally.add_dropped(7);
    const auto report = make_report(question(), tally, completion);
    EXPECT_EQ(report.code, TriageExit::warning);
    EXPECT_THAT(report_text(report), HasSubstr("dropped: 7 answers, more than could be looked at\n"));
    EXPECT_EQ(nlohmann::json::parse(report_json(report)).at("dropped"), 7);
    EXPECT_THAT(report_prometheus(report), HasSubstr("qxnotify_triage_dropped{topic=\"TRIAGE.ACTION.DEV.LBM\"} 7\n"));
}

TEST(TriageReport, GivenInventory_WhenSomeAreMissing_ThenTheyAreNamed)
{
    auto asked = question();
    asked.inventory = {{"price-1", "10.0.0.1"}, {"price-3", "10.0.0.3"}, {"price-9", "10.0.0.9"}};
    const auto report = report_of(asked, {{source_1, 1, ""}, {source_2, 1, ""}});
    EXPECT_EQ(headline(report), "1 of 3 answered; missing price-3, price-9");
    EXPECT_THAT(report.unexpected, ElementsAre(source_2));
    EXPECT_EQ(report.responders[0].name, "price-1");
    EXPECT_EQ(report.code, TriageExit::critical);
}

TEST(TriageReport, GivenOnlyAnUnexpectedResponder_WhenInventoryIsThere_ThenNobodyAnswered)
{
    auto asked = question();
    asked.inventory = {{"price-3", "10.0.0.3"}};
    EXPECT_EQ(headline(report_of(asked, {{source_1, 1, ""}})), "0 of 1 answered; missing price-3");
}

TEST(TriageReport, GivenTwoEntriesOfOneAddress_WhenOneProcessComesBackAsAnother_ThenTheOtherEntryIsMissing)
{
    auto asked = question();
    asked.inventory = {{"price-1", "10.0.0.1"}, {"price-2", "10.0.0.1"}};
    const auto report = make_report(asked, rounds({{source_1}, {source_3}}), completion);
    EXPECT_EQ(headline(report), "1 of 2 answered; missing price-2");
    EXPECT_EQ(report.responders[0].name, "price-1");
    EXPECT_EQ(report.responders[1].name, "price-1");
}

TEST(TriageReport, GivenInventory_WhenEntriesAreSatisfiedInDifferentRounds_ThenNoneIsMissing)
{
    auto asked = question();
    asked.inventory = {{"price-1", "10.0.0.1"}, {"price-2", "10.0.0.2"}};
    const auto report = make_report(asked, rounds({{source_1, "x"}, {source_2, "x"}}), completion);
    EXPECT_EQ(headline(report), "2 of 2 answered");
    EXPECT_THAT(report.unexpected, ElementsAre("x"));
}

TEST(TriageText, GivenRounds_WhenWritten_ThenTableStatisticsAndVerdict)
{
    auto tally = one_round({{source_1, 1.25, ""}});
    tally.begin_round();
    tally.add({source_1, 3, ""});
    tally.complete_round();
    EXPECT_EQ(report_text(make_report(question(), tally, "completion")),
              "RESPONDER                                ANSWERED  MIN ms  P50 ms  P90 ms  P99 ms  MAX ms\n"
              "LBMDDS:10.0.0.1:4711:00000000000000aa         2/2    1.25    1.25       3       3       3\n"
              "latency min 1.25, p50 1.25, p90 3, p99 3, max 3 ms; 2 of 2 requests answered\n"
              "1 answered\n"
              "OK: ping, topic TRIAGE.ACTION.DEV.LBM, 2 rounds\n");
}

TEST(TriageText, GivenNobody_WhenWritten_ThenNoTable)
{
    EXPECT_EQ(report_text(report_of(question(), {})),
              "0 answered\nCRITICAL: ping, topic TRIAGE.ACTION.DEV.LBM, 1 round\n");
}

TEST(TriageText, GivenNothingSent_WhenWritten_ThenItSaysSo)
{
    EXPECT_EQ(report_text(make_report(question(), TriageTally{}, "completion")),
              "nobody was there to be asked, nothing was sent\n"
              "0 answered\nCRITICAL: ping, topic TRIAGE.ACTION.DEV.LBM, 0 rounds\n");
}

TEST(TriageText, GivenSignalBeforeTheFirstRequest_WhenWritten_ThenItDoesNotSayThatNobodyWasThere)
{
    EXPECT_EQ(report_text(make_report(question(), TriageTally{}, "SIGTERM")),
              "stopped before anything was sent\n"
              "UNKNOWN: ping, topic TRIAGE.ACTION.DEV.LBM, 0 rounds, ended by SIGTERM\n");
}

TEST(TriageText, GivenSourceWithControlCharacters_WhenWritten_ThenEscaped)
{
    const auto text = report_text(report_of(question(), {{"\x1b[2J", 1, ""}}));
    EXPECT_THAT(text, Not(HasSubstr("\x1b")));
    EXPECT_THAT(text, HasSubstr("\\x1b[2J"));
}

TEST(TriageText, GivenSignal_WhenWritten_ThenItIsNamed)
{
    EXPECT_THAT(report_text(make_report(question(), one_round({}), "SIGINT")), HasSubstr("1 round, ended by SIGINT\n"));
}

TEST(TriageText, GivenUnexpectedAndFaulty_WhenWritten_ThenEachHasALine)
{
    auto asked = question();
    asked.inventory = {{"price-1", "10.0.0.1"}};
    const auto text = report_text(report_of(asked, {{source_2, 1, ""}, {"x", 1, "status 1"}}));
    EXPECT_THAT(text, HasSubstr(std::string{"unexpected: "} + source_2 + "\n"));
    EXPECT_THAT(text, HasSubstr("faulty answer: x: status 1\n"));
}

TEST(TriageJson, GivenReport_WhenWritten_ThenOneObjectInOneLine)
{
    auto asked = question();
    asked.inventory = {{"price-1", "10.0.0.1"}, {"price-3", "10.0.0.3"}};
    const std::string text = report_json(report_of(asked, {{source_1, 1.23456, ""}, {"x\xff", 1, "status 1"}}));
    EXPECT_EQ(text.find('\n'), text.size() - 1);
    const auto object = nlohmann::json::parse(text);
    EXPECT_EQ(object.at("state"), "CRITICAL");
    EXPECT_EQ(object.at("exit_code"), 2);
    EXPECT_EQ(object.at("answered"), 1);
    EXPECT_EQ(object.at("expected"), 2);
    EXPECT_EQ(object.at("missing"), nlohmann::json::array({"price-3"}));
    EXPECT_EQ(object.at("faulty").at(0).at("fault"), "status 1");
    EXPECT_EQ(object.at("latency_ms").at("max"), 1.235);
    EXPECT_EQ(object.at("responders").at(0).at("name"), "price-1");
}

TEST(TriageJson, GivenNobody_WhenWritten_ThenNullAndEmptyLists)
{
    const auto object = nlohmann::json::parse(report_json(report_of(question(), {})));
    EXPECT_TRUE(object.at("latency_ms").is_null());
    EXPECT_TRUE(object.at("expected").is_null());
    EXPECT_THAT(object.at("responders"), IsEmpty());
}

TEST(Decimal, GivenNumbers_WhenWritten_ThenAtMostThreeDecimals)
{
    EXPECT_EQ(decimal(0), "0");
    EXPECT_EQ(decimal(1.5), "1.5");
    EXPECT_EQ(decimal(0.0004), "0");
    EXPECT_EQ(decimal(1234.5678), "1234.568");
    EXPECT_EQ(decimal(100), "100");
}

} // namespace
} // namespace qx::tool
