#include <future>
#include <type_traits>
#include <utility>

#include <gmock/gmock.h>

#include <lbm/lbm_cpp.h>

#include "lbm/tests/statement.h"
#include "tests/doubles/captured_log.h"
#include "tests/doubles/lbm_double/lbm_double.h"

using namespace qx::logging;
using lbm::test::Statement;
using lbm::test::ThrownText;
using qx::test::Calls;
using qx::test::CapturedLog;
using qx::test::LbmDouble;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

static_assert(std::has_virtual_destructor_v<lbm::EventQueue>);
static_assert(sizeof(lbm::EventQueue) == 2 * sizeof(void*));
static_assert(!std::is_copy_constructible_v<lbm::EventQueue> && !std::is_copy_assignable_v<lbm::EventQueue>);
static_assert(std::is_convertible_v<lbm::EventQueue&, lbm_event_queue_t*>);
static_assert(std::is_convertible_v<const lbm::EventQueue&, const lbm_event_queue_t*>);

namespace {

class EventQueue : public ::testing::Test {
protected:
    LbmDouble transport;
    CapturedLog log;
    lbm::EventQueueAttributes attributes;

    void ExpectFailure(const std::string& text, const Calls& calls)
    {
        transport.clear_calls();
        EXPECT_EQ(ThrownText([&] { lbm::EventQueue queue(attributes); }), text);
        EXPECT_THAT(log.statements(), ElementsAre(Statement(QXLOG_ERROR, 65, text)));
        EXPECT_EQ(transport.calls(), calls);
    }
};

} // namespace

TEST_F(EventQueue, GivenAttributes_WhenMade_ThenACopyWithCancellationCallbacksIsUsedAndDeleted)
{
    transport.clear_calls();
    const lbm::EventQueue queue(attributes);
    EXPECT_EQ(transport.calls(),
              (Calls{"lbm_event_queue_attr_dup(event_queue_attr#1) = event_queue_attr#2",
                     "lbm_event_queue_attr_setopt(event_queue_attr#2, 'queue_cancellation_callbacks_enabled', 1, 4)",
                     "lbm_event_queue_create(null, null, event_queue_attr#2) = event_queue#1",
                     "lbm_event_queue_attr_delete(event_queue_attr#2)"}));
}

TEST_F(EventQueue, GivenQueue_WhenDestroyed_ThenShutDownThenDeleted)
{
    {
        const lbm::EventQueue queue(attributes);
        transport.clear_calls();
    }
    EXPECT_EQ(transport.calls(),
              (Calls{"lbm_event_queue_shutdown(event_queue#1)", "lbm_event_queue_delete(event_queue#1)"}));
}

TEST_F(EventQueue, GivenFailingShutdownAndDelete_WhenDestroyed_ThenBothAreCalledAndIgnored)
{
    transport.fail_next("lbm_event_queue_shutdown");
    transport.fail_next("lbm_event_queue_delete");
    {
        const lbm::EventQueue queue(attributes);
        transport.clear_calls();
    }
    EXPECT_EQ(transport.calls().size(), 2U);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(EventQueue, GivenFailingDuplicate_WhenMade_ThenThrowsAtOnce)
{
    transport.fail_next("lbm_event_queue_attr_dup");
    ExpectFailure("Failed to duplicate LBM event queue attributes: scripted",
                  {"lbm_event_queue_attr_dup(event_queue_attr#1) = -1"});
}

TEST_F(EventQueue, GivenFailingOption_WhenMade_ThenThrowsAndDeletesTheCopy)
{
    transport.fail_next("lbm_event_queue_attr_setopt");
    ExpectFailure("Failed to set LBM topic attribute: scripted",
                  {"lbm_event_queue_attr_dup(event_queue_attr#1) = event_queue_attr#2",
                   "lbm_event_queue_attr_setopt(event_queue_attr#2, 'queue_cancellation_callbacks_enabled', 1, 4) = -1",
                   "lbm_event_queue_attr_delete(event_queue_attr#2)"});
}

TEST_F(EventQueue, GivenFailingCreate_WhenMade_ThenThrowsAndDeletesTheCopy)
{
    transport.fail_next("lbm_event_queue_create");
    ExpectFailure("Failed to create LBM event queue: scripted",
                  {"lbm_event_queue_attr_dup(event_queue_attr#1) = event_queue_attr#2",
                   "lbm_event_queue_attr_setopt(event_queue_attr#2, 'queue_cancellation_callbacks_enabled', 1, 4)",
                   "lbm_event_queue_create(null, null, event_queue_attr#2) = -1",
                   "lbm_event_queue_attr_delete(event_queue_attr#2)"});
}

TEST_F(EventQueue, GivenFailingAttributeDeletion_WhenMade_ThenLoggedAndTheQueueExists)
{
    transport.fail_next("lbm_event_queue_attr_delete");
    lbm::EventQueue queue(attributes);
    EXPECT_NE(static_cast<lbm_event_queue_t*>(queue), nullptr);
    EXPECT_THAT(log.statements(),
                ElementsAre(Statement(QXLOG_ERROR, 71, "Failed to delete LBM event queue attributes: scripted")));
}

TEST_F(EventQueue, GivenSuccessWithoutHandle_WhenDestroyed_ThenNoCall)
{
    transport.script_nth("lbm_event_queue_create", 1, {.result = LBM_OK, .withoutHandle = true});
    {
        const lbm::EventQueue queue(attributes);
        transport.clear_calls();
    }
    EXPECT_THAT(transport.calls(), IsEmpty());
}

TEST_F(EventQueue, GivenMove_WhenBothDestroyed_ThenDeletedOnce)
{
    {
        lbm::EventQueue source(attributes);
        const lbm::EventQueue target(std::move(source));
        const lbm_event_queue_t* left =
            source; // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move): the point
        EXPECT_EQ(left, nullptr);
    }
    EXPECT_THAT(transport.calls("lbm_event_queue_delete"), ElementsAre("lbm_event_queue_delete(event_queue#1)"));
}

TEST_F(EventQueue, GivenMoveAssignment_WhenAssigned_ThenTheTargetsOldQueueIsShutDownAndDeleted)
{
    lbm::EventQueue source(attributes);
    lbm::EventQueue target(attributes);
    transport.clear_calls();
    target = std::move(source);
    EXPECT_EQ(transport.calls(),
              (Calls{"lbm_event_queue_shutdown(event_queue#2)", "lbm_event_queue_delete(event_queue#2)"}));
}

TEST_F(EventQueue, GivenNoAttributes_WhenMade_ThenDefaultsAreUsedAndNothingIsLeftBehind)
{
    {
        const lbm::EventQueue queue;
    }
    EXPECT_THAT(transport.leaks(), ElementsAre("event_queue_attr#1")); // the fixture's own
}

TEST_F(EventQueue, GivenPostedMessage_WhenPolled_ThenTheCallbackRunsAndIsCounted)
{
    lbm::EventQueue queue(attributes);
    lbm::Context context;
    int ran = 0;
    const lbm::Receiver receiver(
        context, lbm::ReceiverTopic(context, "A"), [&](const lbm::Message&) { ++ran; }, &queue);
    ASSERT_TRUE(transport.post("A", transport.make_message()));
    EXPECT_EQ(queue.Poll(0), 1);
    EXPECT_EQ(ran, 1);
}

TEST_F(EventQueue, GivenRunningDispatch_WhenUnblocked_ThenRunReturns)
{
    lbm::EventQueue queue(attributes);
    auto run = std::async(std::launch::async, [&] { return queue.Run(); });
    queue.Unblock();
    ASSERT_EQ(run.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    EXPECT_EQ(run.get(), 0);
    EXPECT_THAT(transport.calls("lbm_event_dispatch("), ElementsAre("lbm_event_dispatch(event_queue#1, 4294967295)"));
}

TEST_F(EventQueue, GivenUnblockedQueue_WhenRun_ThenReturns)
{
    lbm::EventQueue queue(attributes);
    queue.Unblock();
    auto run = std::async(std::launch::async, [&] { return queue.Run(); });
    ASSERT_EQ(run.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    EXPECT_EQ(run.get(), 0);
}

TEST_F(EventQueue, GivenFailingDispatch_WhenRun_ThenThrows)
{
    lbm::EventQueue queue(attributes);
    transport.fail_next("lbm_event_dispatch");
    EXPECT_EQ(ThrownText([&] { queue.Run(); }), "Failed to run LBM event queue: scripted");
}

TEST_F(EventQueue, GivenFailingDispatch_WhenPolled_ThenThrows)
{
    lbm::EventQueue queue(attributes);
    transport.fail_next("lbm_event_dispatch");
    EXPECT_EQ(ThrownText([&] { queue.Poll(5); }), "Failed to run LBM event queue: scripted");
}

TEST_F(EventQueue, GivenFailingUnblock_WhenUnblocked_ThenThrows)
{
    lbm::EventQueue queue(attributes);
    transport.fail_next("lbm_event_dispatch_unblock");
    EXPECT_EQ(ThrownText([&] { queue.Unblock(); }), "Failed to unblock LBM event queue: scripted");
}
