#include "qxnotify/publish_loop.h"

#include <csignal>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace qx::tool {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

constexpr const char* deletion = R"({"market":42,"et":"Delete","dt":"ProductDeleteRecord","id":1})";
constexpr const char* fatal = R"({"market":42,"raw":"oops"})";

class Lines : public LineSource {
public:
    explicit Lines(std::vector<std::string> lines)
        : m_lines(std::move(lines))
    {
    }
    ReadResult next(std::string& line) override
    {
        if (m_next == m_lines.size()) {
            return ReadResult::end;
        }
        line = m_lines[m_next++];
        return line == "(too long)" ? ReadResult::too_long : ReadResult::line;
    }
    std::string place() const override { return "in:" + std::to_string(m_next); }
    std::optional<double> fraction() const override { return {}; }

private:
    std::vector<std::string> m_lines;
    std::size_t m_next = 0;
};

class RecordingSender : public Sender {
public:
    SendResult send(std::uint64_t market, Fate fate, std::string_view payload) override
    {
        if (result == SendResult::sent) {
            sent.push_back(std::to_string(market) + " " + std::string{fate_name(fate)} + " " +
                           std::to_string(payload.size()));
        }
        return result;
    }
    SendResult result = SendResult::sent;
    std::vector<std::string> sent;
};

/// One run of the loop over some lines.
struct Trial {
    explicit Trial(std::vector<std::string> lines)
        : input(std::move(lines))
    {
    }
    ExitCode go() { return loop.run(); }

    PublishOptions options;
    StopSignals stop;
    Lines input;
    RecordingSender sender;
    std::vector<std::string> said;
    Progress progress{false};
    PublishLoop loop{options, input, sender, stop, [this](std::string_view line) { said.emplace_back(line); },
                     progress};
};

TEST(PublishLoop, GivenNoInput_WhenRun_ThenDoneWithNothingSent)
{
    Trial trial({});
    EXPECT_EQ(trial.go(), ExitCode::done);
    EXPECT_EQ(trial.loop.totals().sent_total(), 0U);
    EXPECT_EQ(trial.loop.ended_by(), "end of input");
}

TEST(PublishLoop, GivenLines_WhenRun_ThenTheyAreSentInOrderAndCountedByKind)
{
    Trial trial({deletion, "", R"({"market":7,"et":"Update","dt":"X","id":1})"});
    EXPECT_EQ(trial.go(), ExitCode::done);
    EXPECT_THAT(trial.sender.sent, ElementsAre("42 product_delete 49", "7 unsupported 31"));
    EXPECT_EQ(trial.loop.totals().sent_total(), 2U);
    EXPECT_EQ(trial.loop.totals().bytes, 80U);
}

TEST(PublishLoop, GivenBadLine_WhenRun_ThenItIsNamedWithItsPlaceAndTheRestIsSent)
{
    Trial trial({deletion, "[]", deletion});
    EXPECT_EQ(trial.go(), ExitCode::refused);
    EXPECT_THAT(trial.said, ElementsAre("qxnotify publish: in:2: refused: not a JSON object\n"));
    EXPECT_THAT(trial.sender.sent, SizeIs(2));
    EXPECT_EQ(trial.loop.totals().refused, 1U);
}

TEST(PublishLoop, GivenLineThatIsTooLong_WhenRun_ThenItIsRefused)
{
    Trial trial({"(too long)"});
    EXPECT_EQ(trial.go(), ExitCode::refused);
    EXPECT_THAT(trial.said, ElementsAre(HasSubstr("longer than 8388608 bytes")));
}

TEST(PublishLoop, GivenBadLineAndStrict_WhenRun_ThenItStopsThere)
{
    Trial trial({deletion, "[]", deletion});
    trial.options.strict = true;
    EXPECT_EQ(trial.go(), ExitCode::stopped_at_refused);
    EXPECT_THAT(trial.sender.sent, SizeIs(1));
    EXPECT_EQ(trial.loop.ended_by(), "refused line");
}

TEST(PublishLoop, GivenFatalPayload_WhenRun_ThenItIsRefusedAndTheAdviceNamesTheOption)
{
    Trial trial({fatal});
    EXPECT_EQ(trial.go(), ExitCode::refused);
    EXPECT_THAT(trial.said, ElementsAre(HasSubstr("--allow-fatal")));
    EXPECT_THAT(trial.sender.sent, SizeIs(0));
}

TEST(PublishLoop, GivenFatalPayloadAndLeave_WhenRun_ThenItIsSent)
{
    Trial trial({fatal});
    trial.options.allow_fatal = true;
    EXPECT_EQ(trial.go(), ExitCode::done);
    EXPECT_THAT(trial.sender.sent, ElementsAre("42 fatal 4"));
}

TEST(PublishLoop, GivenMarketOption_WhenLinesNameNone_ThenTheFirstIsTaken)
{
    Trial trial({R"({"et":"Delete","dt":"ProductDeleteRecord","id":1})"});
    trial.options.markets = {7, 8};
    EXPECT_EQ(trial.go(), ExitCode::done);
    EXPECT_THAT(trial.sender.sent, ElementsAre("7 product_delete 49"));
}

TEST(PublishLoop, GivenVeryManyBadLines_WhenRun_ThenOnlyTheFirstAreNamed)
{
    Trial trial(std::vector<std::string>(100, "[]"));
    EXPECT_EQ(trial.go(), ExitCode::refused);
    EXPECT_THAT(trial.said, SizeIs(refusals_named_max + 1));
    EXPECT_EQ(trial.said.back(), "qxnotify publish: further refused lines are only counted\n");
    EXPECT_EQ(trial.loop.totals().refused, 100U);
}

TEST(PublishLoop, GivenNoListener_WhenRun_ThenItStopsAndSaysWhatToDo)
{
    Trial trial({deletion, deletion});
    trial.sender.result = SendResult::no_listener;
    EXPECT_EQ(trial.go(), ExitCode::no_listener);
    EXPECT_THAT(trial.said, ElementsAre(HasSubstr("--wait-for-listener 0")));
    EXPECT_EQ(trial.loop.totals().sent_total(), 0U);
}

TEST(PublishLoop, GivenTooManyTopics_WhenRun_ThenTheLineIsRefused)
{
    Trial trial({deletion});
    trial.sender.result = SendResult::too_many_topics;
    EXPECT_EQ(trial.go(), ExitCode::refused);
    EXPECT_THAT(trial.said, ElementsAre(HasSubstr("topics in one run")));
}

TEST(PublishLoop, GivenOutputThatNobodyReads_WhenRun_ThenDone)
{
    Trial trial({deletion, deletion});
    trial.sender.result = SendResult::closed;
    EXPECT_EQ(trial.go(), ExitCode::done);
    EXPECT_EQ(trial.loop.ended_by(), "closed output");
}

TEST(PublishLoop, GivenSignalBeforeTheBeginning_WhenRun_ThenInterruptedWithNothingSent)
{
    Trial trial({deletion});
    ::kill(::getpid(), SIGINT);
    EXPECT_EQ(trial.go(), ExitCode::interrupted);
    EXPECT_THAT(trial.sender.sent, SizeIs(0));
    EXPECT_EQ(trial.loop.ended_by(), "SIGINT");
}

TEST(PublishLoop, GivenRate_WhenRun_ThenTheLastMessageIsNotSentBeforeItsTime)
{
    Trial trial({deletion, deletion, deletion});
    trial.options.rate_per_second = 500; // the third is due after 4 ms
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(trial.go(), ExitCode::done);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(4));
    EXPECT_THAT(trial.sender.sent, SizeIs(3));
}

TEST(PublishLoop, GivenTinyRate_WhenASignalComes_ThenTheWaitEndsAtOnce)
{
    Trial trial({deletion, deletion});
    trial.options.rate_per_second = 1e-6;
    std::signal(SIGALRM, [](int) { ::kill(::getpid(), SIGTERM); });
    ::ualarm(20'000, 0); // while the loop waits for the second message's turn
    EXPECT_EQ(trial.go(), ExitCode::interrupted);
    EXPECT_THAT(trial.sender.sent, SizeIs(1));
}

} // namespace
} // namespace qx::tool
