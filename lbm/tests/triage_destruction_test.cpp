// What the handler's destruction does and says on standard output, in order.
#include <iostream>
#include <optional>
#include <streambuf>
#include <string>

#include "lbm/tests/triage_fixture.h"

using namespace qx::logging;
using lbm::test::Printed;
using qx::test::CapturedLog;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;

namespace {

class TriageDestruction : public lbm::test::TriageTest {
protected:
    /// Transport calls appear among the printed lines by name.
    void PrintCalls()
    {
        for (const char* function :
             {"lbm_rcv_delete", "lbm_event_dispatch_unblock", "lbm_event_queue_shutdown", "lbm_event_queue_delete"}) {
            transport.on_call(function, [=] { std::cout << function << '\n'; });
        }
    }

    void Start()
    {
        handler.emplace();
        handler->Initialize();
    }

    void StartWithReceivers(lbm::Context& context)
    {
        Start();
        handler->registerContext("", &context);
    }

    std::string PrintedByDestruction()
    {
        PrintCalls();
        return Printed([&] { handler.reset(); });
    }

    std::optional<lbm::LbmTriageHandler> handler;
};

/// Refuses every byte.
class FullDisk : public std::streambuf {};

} // namespace

TEST_F(TriageDestruction, GivenNothingMade_WhenDestroyed_ThenOneLine)
{
    handler.emplace();
    EXPECT_EQ(PrintedByDestruction(), "lbm_triage_handler destructor called\n");
}

TEST_F(TriageDestruction, GivenDisabled_WhenDestroyed_ThenOneLine)
{
    variables.Set("DISABLE_LBM_TRIAGE_HANDLER", "1");
    Start();
    EXPECT_EQ(PrintedByDestruction(), "lbm_triage_handler destructor called\n");
}

TEST_F(TriageDestruction, GivenReceivers_WhenDestroyed_ThenALineBeforeEachIsDeleted)
{
    lbm::Context context;
    StartWithReceivers(context);
    EXPECT_EQ(PrintedByDestruction(), "lbm_triage_handler destructor called\n"
                                      "lbm_triage_handler destructor deleting env receiver\n"
                                      "lbm_rcv_delete\n"
                                      "lbm_triage_handler destructor deleting env dc receiver\n"
                                      "lbm_rcv_delete\n");
    EXPECT_THAT(transport.calls("lbm_rcv_delete"), ElementsAre("lbm_rcv_delete(rcv#1)", "lbm_rcv_delete(rcv#2)"));
}

TEST_F(TriageDestruction, GivenOnlyTheFirstReceiver_WhenDestroyed_ThenItsLineOnly)
{
    lbm::Context context;
    transport.fail_nth("lbm_rcv_create", 2);
    StartWithReceivers(context);
    EXPECT_EQ(PrintedByDestruction(), "lbm_triage_handler destructor called\n"
                                      "lbm_triage_handler destructor deleting env receiver\n"
                                      "lbm_rcv_delete\n");
}

TEST_F(TriageDestruction, GivenEventQueue_WhenDestroyed_ThenUnblockedJoinedShutDownAndDeletedInOrder)
{
    variables.Set("TRIAGE_HANDLER_USE_EVENT_QUEUE", "1");
    Start();
    const std::string queue = "event_queue=0x[0-9a-f]+\n";
    EXPECT_THAT(PrintedByDestruction(),
                MatchesRegex("lbm_triage_handler destructor called\n"
                             "lbm_triage_handler destructor cleaning up " +
                             queue +
                             "lbm_event_dispatch_unblock\n"
                             "lbm_triage_handler destructor joining event_queue=0x[0-9a-f]+ thread_id=[0-9]+\n"
                             "lbm_triage_handler destructor joined " +
                             queue +
                             "lbm_event_queue_shutdown\n"
                             "lbm_event_queue_delete\n"));
}

TEST_F(TriageDestruction, GivenEventQueue_WhenDestroyed_ThenItsLinesNameTheQueueThatTheLogNamed)
{
    variables.Set("TRIAGE_HANDLER_USE_EVENT_QUEUE", "1");
    Start();
    const auto logged = log.texts(QXLOG_INFO);
    ASSERT_EQ(logged.size(), 1U);
    const std::string names = logged.front().substr(logged.front().find("event_queue="));
    EXPECT_THAT(PrintedByDestruction(), ::testing::HasSubstr("destructor joining " + names + "\n"));
}

TEST_F(TriageDestruction, GivenReceiversAndEventQueue_WhenDestroyed_ThenReceiversGoFirst)
{
    variables.Set("TRIAGE_HANDLER_USE_EVENT_QUEUE", "1");
    lbm::Context context;
    StartWithReceivers(context);
    const auto printed = PrintedByDestruction();
    EXPECT_LT(printed.rfind("lbm_rcv_delete"), printed.find("cleaning up event_queue="));
}

TEST_F(TriageDestruction, GivenQueueWithoutHandle_WhenDestroyed_ThenNothingIsUnblocked)
{
    variables.Set("TRIAGE_HANDLER_USE_EVENT_QUEUE", "1");
    transport.script_nth("lbm_event_queue_create", 1, {.result = LBM_OK, .withoutHandle = true});
    transport.script_nth("lbm_event_dispatch", 1, {.result = 1});
    Start();
    handler.reset();
    EXPECT_THAT(transport.calls("lbm_event_dispatch_unblock"), IsEmpty());
}

TEST_F(TriageDestruction, GivenFailingUnblock_WhenTheDispatchHasEnded_ThenIgnored)
{
    variables.Set("TRIAGE_HANDLER_USE_EVENT_QUEUE", "1");
    transport.script_nth("lbm_event_dispatch", 1, {.result = 1});
    transport.fail_next("lbm_event_dispatch_unblock");
    Start();
    log.clear();
    handler.reset();
    EXPECT_THAT(log.texts(QXLOG_ERROR), IsEmpty());
    EXPECT_THAT(transport.leaks(), IsEmpty());
}

TEST_F(TriageDestruction, GivenLoggingOff_WhenDestroyed_ThenTheLinesArePrintedAllTheSame)
{
    const CapturedLog off(QXLOG_WALL + 1);
    lbm::Context context;
    StartWithReceivers(context);
    EXPECT_THAT(PrintedByDestruction(), ::testing::HasSubstr("destructor deleting env dc receiver\n"));
    EXPECT_THAT(off.texts(), IsEmpty());
}

TEST_F(TriageDestruction, GivenOutputThatThrows_WhenDestroyed_ThenEverythingGoesAllTheSame)
{
    variables.Set("TRIAGE_HANDLER_USE_EVENT_QUEUE", "1");
    std::optional<lbm::Context> context(std::in_place);
    StartWithReceivers(*context);
    FullDisk disk;
    auto* const before = std::cout.rdbuf(&disk);
    std::cout.exceptions(std::ios::badbit | std::ios::failbit);
    handler.reset();
    std::cout.exceptions(std::ios::goodbit);
    std::cout.rdbuf(before);
    context.reset();
    EXPECT_THAT(transport.leaks(), IsEmpty());
}
