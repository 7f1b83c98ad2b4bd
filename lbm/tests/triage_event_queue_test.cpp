// The handler's own event queue and the thread that dispatches it.
#include <chrono>
#include <csignal>
#include <future>
#include <optional>
#include <string>
#include <thread>

#include <pthread.h>

#include "lbm/tests/platform_calls.h"
#include "lbm/tests/triage_fixture.h"
#include "lbm/tests/triage_requests.h"

using namespace qx::logging;
using lbm::test::envTopic;
using lbm::test::TestRequest;
using lbm::test::ThrownText;
using lbm::test::TriageStatement;
using qx::test::Calls;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

namespace {

constexpr std::chrono::seconds patience{20};

class TriageEventQueue : public lbm::test::TriageTest {
protected:
    explicit TriageEventQueue(std::int32_t minLevel = QXLOG_DEBUG)
        : TriageTest(minLevel)
    {
        variables.Set("TRIAGE_HANDLER_USE_EVENT_QUEUE", "yes");
    }

    /// With the thread's last line written.
    void StartAndStop()
    {
        handler.emplace();
        handler->Initialize();
        handler.reset();
    }

    /// The one statement of that line; an empty text when there is none.
    std::string TextAt(int line) const
    {
        for (const auto& statement : log.statements()) {
            if (statement.line == line && statement.source == "lbm_triage_handler") {
                return statement.text;
            }
        }
        return "";
    }

    lbm_msg_t* MakeRequest()
    {
        return transport.make_message({.type = LBM_MSG_REQUEST, .payload = TestRequest("1"), .withResponse = true});
    }

    std::optional<lbm::LbmTriageHandler> handler;
};

class TriageEventQueueAboveInfo : public TriageEventQueue {
protected:
    TriageEventQueueAboveInfo()
        : TriageEventQueue(QXLOG_INFO + 1)
    {
    }
};

class TriageEventQueueAboveError : public TriageEventQueue {
protected:
    TriageEventQueueAboveError()
        : TriageEventQueue(QXLOG_ERROR + 1)
    {
    }
};

} // namespace

TEST_F(TriageEventQueue, GivenVariable_WhenInitialized_ThenAStatementShowsItsValue)
{
    StartAndStop();
    EXPECT_THAT(log.statements(),
                Contains(TriageStatement(QXLOG_INFO_SEARCH, 1310,
                                         "triage_handler using EventQueue because env variable is set "
                                         "TRIAGE_HANDLER_USE_EVENT_QUEUE=yes")));
}

TEST_F(TriageEventQueue, GivenVariable_WhenInitialized_ThenTheQueueIsMadeFromDefaultAttributesWithCancellation)
{
    StartAndStop();
    const auto calls = transport.calls("lbm_event_queue_");
    EXPECT_THAT(calls, ElementsAre(StartsWith("lbm_event_queue_attr_create("), StartsWith("lbm_event_queue_attr_dup("),
                                   HasSubstr("'queue_cancellation_callbacks_enabled', 1"),
                                   StartsWith("lbm_event_queue_create("), StartsWith("lbm_event_queue_attr_delete("),
                                   StartsWith("lbm_event_queue_attr_delete("),
                                   "lbm_event_queue_shutdown(event_queue#1)", "lbm_event_queue_delete(event_queue#1)"));
}

TEST_F(TriageEventQueue, GivenVariable_WhenInitialized_ThenTheStartIsLoggedWithQueueAndThread)
{
    StartAndStop();
    EXPECT_THAT(TextAt(1321),
                ::testing::MatchesRegex("started triage_handler event_queue=0x[0-9a-f]+ thread_id=[0-9]+"));
    EXPECT_THAT(log.statements(), Contains(TriageStatement(QXLOG_INFO, 1321, TextAt(1321))));
}

TEST_F(TriageEventQueue, GivenTheThread_WhenItRuns_ThenItDispatchesWithoutLimitBetweenTwoLines)
{
    StartAndStop();
    const std::string started = TextAt(1321);
    const std::string queue = started.substr(0, started.find(" thread_id")).substr(std::string("started ").size());
    EXPECT_THAT(log.statements(), Contains(TriageStatement(QXLOG_INFO_SEARCH, 1277, queue + " loop starting")));
    EXPECT_THAT(log.statements(), Contains(TriageStatement(QXLOG_INFO_SEARCH, 1279, queue + " loop stopping")));
    EXPECT_THAT(transport.calls("lbm_event_dispatch("), ElementsAre("lbm_event_dispatch(event_queue#1, 4294967295)"));
}

TEST_F(TriageEventQueue, GivenEventQueue_WhenTheFirstContextRegisters_ThenBothReceiversDeliverThere)
{
    lbm::Context context;
    handler.emplace();
    handler->Initialize();
    handler->registerContext("", &context);
    EXPECT_THAT(transport.calls("lbm_rcv_create"),
                ElementsAre(HasSubstr("clientd, event_queue#1)"), HasSubstr("clientd, event_queue#1)")));
    handler.reset();
}

TEST_F(TriageEventQueue, GivenPostedRequest_WhenDispatched_ThenAnsweredOnTheNamedThread)
{
    std::promise<std::string> answeredOn;
    transport.on_call("lbm_send_response", [&] {
        char name[16] = {};
        pthread_getname_np(pthread_self(), name, sizeof name);
        answeredOn.set_value(name);
    });
    lbm::Context context;
    handler.emplace();
    handler->Initialize();
    handler->registerContext("", &context);
    ASSERT_TRUE(transport.post(envTopic, MakeRequest()));
    auto thread = answeredOn.get_future();
    ASSERT_EQ(thread.wait_for(patience), std::future_status::ready);
    EXPECT_EQ(thread.get(), "lbm_th_evq");
    handler.reset();
}

TEST_F(TriageEventQueue, GivenFailingAttributes_WhenInitialized_ThenThrowsAndNothingStays)
{
    transport.fail_next("lbm_event_queue_attr_create");
    handler.emplace();
    EXPECT_EQ(ThrownText([&] { handler->Initialize(); }), "Failed to create LBM event queue attributes: scripted");
    EXPECT_THAT(transport.leaks(), IsEmpty());
}

TEST_F(TriageEventQueue, GivenFailingCopyOfAttributes_WhenInitialized_ThenThrowsAndNothingStays)
{
    transport.fail_next("lbm_event_queue_attr_dup");
    handler.emplace();
    EXPECT_EQ(ThrownText([&] { handler->Initialize(); }), "Failed to duplicate LBM event queue attributes: scripted");
    EXPECT_THAT(transport.leaks(), IsEmpty());
}

TEST_F(TriageEventQueue, GivenFailingOption_WhenInitialized_ThenThrowsAndNothingStays)
{
    transport.fail_next("lbm_event_queue_attr_setopt");
    handler.emplace();
    EXPECT_EQ(ThrownText([&] { handler->Initialize(); }), "Failed to set LBM topic attribute: scripted");
    EXPECT_THAT(transport.leaks(), IsEmpty());
}

TEST_F(TriageEventQueue, GivenFailingQueue_WhenInitialized_ThenThrowsAndNothingStays)
{
    transport.fail_next("lbm_event_queue_create");
    handler.emplace();
    EXPECT_EQ(ThrownText([&] { handler->Initialize(); }), "Failed to create LBM event queue: scripted");
    EXPECT_THAT(transport.leaks(), IsEmpty());
}

TEST_F(TriageEventQueue, GivenNoThread_WhenInitialized_ThenErrorAndTheQueueIsGone)
{
    const lbm::test::NoThreads noThreads;
    handler.emplace();
    handler->Initialize();
    EXPECT_THAT(log.statements(),
                Contains(TriageStatement(QXLOG_ERROR, 1326,
                                         "failed to create event queue thread, triage receivers will not use an event "
                                         "queue: Resource temporarily unavailable")));
    EXPECT_THAT(transport.leaks(), IsEmpty());
    EXPECT_EQ(TextAt(1321), "");
}

TEST_F(TriageEventQueue, GivenNoThread_WhenTheFirstContextRegisters_ThenReceiversHaveNoQueue)
{
    lbm::Context context;
    handler.emplace();
    {
        const lbm::test::NoThreads noThreads;
        handler->Initialize();
    }
    handler->registerContext("", &context);
    EXPECT_THAT(transport.calls("lbm_rcv_create"),
                ElementsAre(HasSubstr("clientd, null)"), HasSubstr("clientd, null)")));
    handler.reset();
}

TEST_F(TriageEventQueue, GivenNoThread_WhenRetryVariablesAreNonsense_ThenTheWarningsNameZeroAsDefault)
{
    variables.Set("TRIAGE_HANDLER_MAX_RETRIES", "x");
    variables.Set("TRIAGE_HANDLER_TIME_BETWEEN_RETRIES_MS", "x");
    const lbm::test::NoThreads noThreads;
    handler.emplace();
    handler->Initialize();
    EXPECT_THAT(log.texts(QXLOG_WARNING),
                ElementsAre(::testing::EndsWith("max_retries=0"), ::testing::EndsWith("time_between_retries_ms=0")));
}

TEST_F(TriageEventQueue, GivenThreadThatCannotBeNamed_WhenInitialized_ThenErrorAndItRunsAllTheSame)
{
    {
        const lbm::test::FailingThreadName failing;
        StartAndStop();
    }
    const std::string started = TextAt(1321);
    const std::string thread = started.substr(started.find(" thread_id="));
    EXPECT_THAT(log.statements(),
                Contains(TriageStatement(QXLOG_ERROR, 1317, "failed to set event queue thread name" + thread)));
    EXPECT_NE(TextAt(1279), "");
}

TEST_F(TriageEventQueue, GivenNamedThread_WhenInitialized_ThenNoError)
{
    StartAndStop();
    EXPECT_THAT(log.texts(QXLOG_ERROR), IsEmpty());
}

TEST_F(TriageEventQueueAboveInfo, GivenEventQueue_WhenStarted_ThenTheStartIsNotLoggedButTheLoopIs)
{
    StartAndStop();
    EXPECT_EQ(TextAt(1321), "");
    EXPECT_NE(TextAt(1277), "");
    EXPECT_NE(TextAt(1310), "");
}

TEST_F(TriageEventQueueAboveError, GivenEveryFailure_WhenInitialized_ThenNothingIsLogged)
{
    {
        const lbm::test::FailingThreadName failing;
        StartAndStop();
    }
    const lbm::test::NoThreads noThreads;
    StartAndStop();
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(TriageEventQueue, GivenNoQueue_WhenTheLoopIsRun_ThenItReturnsAtOnce)
{
    handler.emplace();
    handler->EventQueueLoop();
    EXPECT_THAT(transport.calls(), IsEmpty());
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(TriageEventQueue, GivenDispatchThatRanSomething_WhenItEnds_ThenTheLoopStops)
{
    transport.script_nth("lbm_event_dispatch", 1, {.result = 5});
    StartAndStop();
    EXPECT_NE(TextAt(1279), "");
}

TEST_F(TriageEventQueue, GivenDispatchThatFails_WhenTheLoopIsRun_ThenThrowsAfterTheStartingLine)
{
    std::promise<void> running;
    std::once_flag once;
    transport.on_call("lbm_event_dispatch", [&] { std::call_once(once, [&] { running.set_value(); }); });
    transport.fail_nth("lbm_event_dispatch", 2);
    handler.emplace();
    handler->Initialize();
    ASSERT_EQ(running.get_future().wait_for(patience), std::future_status::ready);
    log.clear();
    EXPECT_EQ(ThrownText([&] { handler->EventQueueLoop(); }), "Failed to run LBM event queue: scripted");
    EXPECT_THAT(log.texts(),
                ElementsAre(::testing::EndsWith(" loop starting"), "Failed to run LBM event queue: scripted"));
    handler.reset();
}

TEST_F(TriageEventQueue, GivenDispatchThatFails_WhenTheThreadRuns_ThenTheProcessEnds)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            transport.fail_next("lbm_event_dispatch");
            StartAndStop();
        },
        ::testing::KilledBySignal(SIGABRT), "Failed to run LBM event queue: scripted");
}
