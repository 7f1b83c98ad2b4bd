/// The back end inside a program that forks, has signals and threads of its own, and whose streams may be gone.
#include <csignal>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "platform/log_backend/tests/child.h"

namespace {

using qx::test::runLogChild;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::Ge;
using testing::HasSubstr;
using testing::SizeIs;
using testing::StartsWith;

using Environment = std::vector<std::string>;

/// With and without a writing thread.
class LogHost : public testing::TestWithParam<Environment> {};

INSTANTIATE_TEST_SUITE_P(EachMode, LogHost, testing::Values(Environment{}, Environment{"QX_LOG_ASYNC=10"}),
                         [](const auto& test) { return test.param.empty() ? "AtOnce" : "Queued"; });

TEST_P(LogHost, GivenAClosedPipe_WhenLogging_ThenTheProgramGoesOn)
{
    EXPECT_EQ(runLogChild("closed-error", GetParam()).exitCode, 0);
}

TEST_P(LogHost, GivenAFork_WhenBothProcessesLog_ThenNoLineIsLostOrDoubledAndBothEnd)
{
    const auto result = runLogChild("fork", GetParam());
    EXPECT_EQ(result.exitCode, 0);
    // Each once; a sanitizer may add a line of its own about the forked threads.
    EXPECT_THAT(result.err, Contains(EndsWith(" before the fork")).Times(1));
    EXPECT_THAT(result.err, Contains(EndsWith(" in the child")).Times(1));
    EXPECT_THAT(result.err, Contains(EndsWith(" in the parent, child's status 0")).Times(1));
}

TEST_P(LogHost, GivenForksWhileAnotherThreadLogs_WhenTheChildrenLog_ThenNoneHangsOnALockThatWasHeld)
{
    const auto result = runLogChild("fork-while-logging", GetParam());
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.err, Contains(EndsWith(" in a child")).Times(50));
}

TEST(LogThreads, GivenForksWhileAnotherThreadWritesLocalTime_WhenTheChildrenLog_ThenNoneHangsOnALockThatWasHeld)
{
    const auto result = runLogChild("fork-while-logging", {"QX_LOG_TIME=local"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.err, Contains(EndsWith(" in a child")).Times(50));
}

TEST_P(LogHost, GivenAClosedPipeForTheFile_WhenLogging_ThenItIsReportedOnce)
{
    auto environment = GetParam();
    environment.emplace_back("QX_LOG_FILE=/dev/stdout");
    const auto result = runLogChild("closed-output", environment);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.err, ElementsAre(HasSubstr("reported this once: write: Broken pipe")));
}

TEST(LogThreads, GivenNoQueue_WhenLogging_ThenThereIsOnlyTheProgramsThread)
{
    EXPECT_THAT(runLogChild("show-threads").out, ElementsAre("log_child 0000000000000000"));
}

TEST(LogThreads, GivenAQueue_WhenLogging_ThenANamedThreadWritesWithSignalsBlockedAndTheProgramsAreNot)
{
    const auto threads = runLogChild("show-threads", {"QX_LOG_ASYNC=1"}).out;
    // ThreadSanitizer has a thread of its own between the two.
    ASSERT_THAT(threads, SizeIs(Ge(2U)));
    EXPECT_EQ(threads.front(), "log_child 0000000000000000");
    ASSERT_THAT(threads.back(), StartsWith("qx_log "));
    const auto blocked = std::stoull(threads.back().substr(7), nullptr, 16);
    for (const int signal : {SIGHUP, SIGINT, SIGTERM, SIGCHLD, SIGUSR1, SIGALRM, SIGPIPE}) {
        EXPECT_TRUE(blocked & (1ULL << static_cast<unsigned>(signal - 1))) << signal;
    }
}

TEST(LogThreads, GivenAHundredThreadsOneAfterTheOther_WhenEachLogs_ThenTheirStreamsAreGone)
{
    const auto result = runLogChild("hundred-threads", {"QX_LOG_FILE=/dev/null"});
    ASSERT_THAT(result.out, SizeIs(1));
    EXPECT_LT(std::stoull(result.out[0]), 1'000'000U);
}

TEST(LogThreads, GivenAKeyYoungerThanTheStreams_WhenItsCleanUpLogs_ThenTheLineIsWritten)
{
    const auto result = runLogChild("key-destructor");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.err, ElementsAre(EndsWith(" first"), EndsWith(" last")));
}

TEST(LogHandlers, GivenFortyUnknownNames_WhenLogging_ThenTheFirstThirtyTwoAreReportedAndEveryLineIsWritten)
{
    const auto result = runLogChild("forty-names");
    EXPECT_THAT(result.err, Contains(StartsWith("qx log: no handler is named 'name")).Times(32));
    EXPECT_THAT(result.err, Contains(EndsWith(" statement")).Times(40));
    EXPECT_THAT(result.err, SizeIs(72));
}

} // namespace
