// The bench: two processes, of which a test starts one. No figure is expected to be good, only sound.

#include <csignal>
#include <fstream>

#include <gmock/gmock.h>

#include "qxnotify_fixture.h"

namespace qx::system_test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

/// One line is written when it runs as long as nobody stops it.
const std::vector<std::string> endless{"bench", "--count", "1", "--rate", "10", "--seconds", "600", "--json"};

/// Not a line of log for each message.
const Environment quiet{{"QX_LOG_LEVEL", "QXLOG_WARNING"}};

/// The processes that it has started; none when it is gone.
std::vector<pid_t> children_of(pid_t pid)
{
    const std::string number = std::to_string(pid);
    std::ifstream file("/proc/" + number + "/task/" + number + "/children");
    std::vector<pid_t> children;
    for (pid_t child = 0; file >> child;) {
        children.push_back(child);
    }
    return children;
}

bool is_alive(pid_t pid)
{
    return ::kill(pid, 0) == 0;
}

void expect_sound(const json& run, const char* name, int messages)
{
    EXPECT_EQ(run.at("run"), name);
    EXPECT_EQ(run.at("messages"), messages);
    EXPECT_GT(run.at("payload_bytes"), 1'000);
    EXPECT_GT(run.at("seconds"), 0);
    EXPECT_GT(run.at("messages_per_second"), 0);
}

TEST_F(QxNotify, GivenBench_WhenItHasRun_ThenSoundFiguresForPrograms)
{
    const auto bench = start({"bench", "--count", "3000", "--rate", "500,1000", "--seconds", "0.2", "--json"}, quiet);
    ASSERT_EQ(bench->wait(), exited(0)) << bench->error();
    const auto lines = bench->output_lines();
    ASSERT_THAT(lines, SizeIs(3));
    expect_sound(json::parse(lines[0]), "throughput", 3'000);
    EXPECT_FALSE(json::parse(lines[0]).contains("latency_us"));
    expect_sound(json::parse(lines[1]), "latency", 100);
    expect_sound(json::parse(lines[2]), "latency", 200);
    for (const auto& line : {lines[1], lines[2]}) {
        const json latency = json::parse(line).at("latency_us");
        EXPECT_GT(latency.at("min"), 0);
        EXPECT_LE(latency.at("min"), latency.at("p50"));
        EXPECT_LE(latency.at("p50"), latency.at("p90"));
        EXPECT_LE(latency.at("p90"), latency.at("p99"));
        EXPECT_LE(latency.at("p99"), latency.at("p99.9"));
        EXPECT_LE(latency.at("p99.9"), latency.at("max"));
    }
}

TEST_F(QxNotify, GivenMoreMessagesThanMayBeUnderWay_WhenBenchHasRun_ThenAllHaveCome)
{
    const auto bench = start({"bench", "--count", "17000", "--rate", "100", "--seconds", "0.01", "--json"}, quiet);
    ASSERT_EQ(bench->wait(3 * patience), exited(0)) << bench->error(); // an instrumented one has much to do
    expect_sound(json::parse(bench->output_lines().at(0)), "throughput", 17'000);
}

TEST_F(QxNotify, GivenBenchForPeople_WhenItHasRun_ThenATableAndNoProgress)
{
    const auto bench = start({"bench", "--count", "10", "--rate", "100", "--seconds", "0.1"}, quiet);
    ASSERT_EQ(bench->wait(), exited(0)) << bench->error();
    const auto lines = bench->output_lines();
    ASSERT_THAT(lines, SizeIs(3));
    EXPECT_THAT(lines[0], HasSubstr("p99.9 us"));
    EXPECT_THAT(lines[1], HasSubstr("throughput "));
    EXPECT_THAT(lines[2], HasSubstr("at 100 a second "));
    EXPECT_THAT(bench->error(), Not(HasSubstr("sent")));
}

TEST_F(QxNotify, GivenAListenerOfTheSameMarket_WhenBenchRuns_ThenTheyDoNotMeet)
{
    const auto listener = listen({"42", "--format", "json"});
    const auto bench = start({"bench", "--count", "10", "--rate", "100", "--seconds", "0.1", "--json"}, quiet);
    EXPECT_EQ(bench->wait(), exited(0)) << bench->error();
    listener->send_signal(SIGTERM);
    EXPECT_EQ(listener->wait(), exited(0));
    EXPECT_EQ(summary_of(*listener).at("received"), 0);
}

TEST_F(QxNotify, GivenHelpOrBadArguments_WhenBenchIsCalled_ThenItSaysSo)
{
    const auto help = start({"bench", "--help"});
    EXPECT_EQ(help->wait(), exited(0));
    EXPECT_THAT(help->output(), HasSubstr("qxnotify bench --count"));
    EXPECT_THAT(help->output(), Not(HasSubstr("--listen-in")));
    EXPECT_EQ(start({"bench", "--count", "0"})->wait(), exited(2));
    EXPECT_EQ(start({"bench", "--rate", "fast"})->wait(), exited(2));
    EXPECT_EQ(start({"bench", "more"})->wait(), exited(2));
}

TEST_F(QxNotify, GivenNoConfigurationFile_WhenBenchIsCalled_ThenTheTransportSaysSo)
{
    const auto bench = start({"bench"}, {{"LBM_XML_CONFIG_FILENAME", "/nowhere/transport.xml"}});
    EXPECT_EQ(bench->wait(), exited(3));
    EXPECT_THAT(bench->error(), HasSubstr("/nowhere/transport.xml"));
    EXPECT_THAT(bench->output(), IsEmpty());
}

TEST_F(QxNotify, GivenBench_WhenItsListeningProcessIsKilled_ThenItSaysSo)
{
    const auto bench = start(endless, quiet);
    ASSERT_TRUE(bench->until_output_lines(1)) << bench->error();
    const auto children = children_of(bench->pid());
    ASSERT_THAT(children, SizeIs(1));
    ::kill(children[0], SIGKILL);
    EXPECT_EQ(bench->wait(), exited(11)) << bench->error();
    EXPECT_THAT(bench->error(), HasSubstr("qxnotify bench: the listening process was killed by signal 9\n"));
    EXPECT_FALSE(is_alive(children[0]));
}

TEST_F(QxNotify, GivenBench_WhenASignalComes_ThenBothProcessesEnd)
{
    for (const int signal : {SIGINT, SIGTERM}) {
        const auto bench = start(endless, quiet);
        ASSERT_TRUE(bench->until_output_lines(1)) << bench->error();
        const auto children = children_of(bench->pid());
        ASSERT_THAT(children, SizeIs(1));
        bench->send_signal(signal);
        EXPECT_EQ(bench->wait(), exited(9)) << bench->error();
        EXPECT_FALSE(is_alive(children[0]));
    }
}

/// The listening process holds the standard error that the test reads: its end shows there.
TEST_F(QxNotify, GivenBench_WhenItIsKilled_ThenItsListeningProcessEndsToo)
{
    const auto bench = start(endless, quiet);
    ASSERT_TRUE(bench->until_output_lines(1)) << bench->error();
    bench->send_signal(SIGKILL);
    EXPECT_EQ(bench->wait(), killed_by(SIGKILL));
}

TEST_F(QxNotify, GivenDroppedMessages_WhenBenchRuns_ThenNoFigureButLoss)
{
    const std::string configuration = write_file(
        "lossy.xml",
        R"(<um-configuration version="1.0"><applications><application name="system"><contexts>)"
        R"(<context name="PriceEnvironmentContext"><options type="context">)"
        R"(<option name="fault_drop_permille" default-value="200"/><option name="flush_gap_us" default-value="0"/>)"
        R"(</options></context></contexts></application></applications></um-configuration>)");
    const auto bench = start({"bench", "--count", "2000", "--json"},
                             {{"LBM_XML_CONFIG_FILENAME", configuration}, {"QX_LOG_LEVEL", "QXLOG_WARNING"}});
    EXPECT_EQ(bench->wait(), exited(10)) << bench->error();
    EXPECT_THAT(bench->error(), HasSubstr("qxnotify bench: throughput: "));
    EXPECT_THAT(bench->output(), IsEmpty());
}

} // namespace
} // namespace qx::system_test
