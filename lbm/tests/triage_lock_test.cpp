// Locks of the handler that fail. In the order of use, registration of a context without a name locks the receivers'
// mutex and then the contexts'; everything else the contexts' only.
#include <chrono>
#include <future>
#include <optional>
#include <system_error>

#include "lbm/tests/platform_calls.h"
#include "lbm/tests/triage_fixture.h"
#include "lbm/tests/triage_requests.h"

using namespace qx::logging;
using lbm::test::Answers;
using lbm::test::envTopic;
using lbm::test::FailingLock;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

class TriageLock : public lbm::test::TriageTest {
protected:
    TriageLock()
    {
        handler.Initialize();
        log.clear();
        transport.clear_calls();
    }

    std::size_t Known()
    {
        log.clear();
        handler.toggleNaks(true, "ALL");
        return log.texts(QXLOG_ERROR).size();
    }

    lbm::Context context;
    lbm::LbmTriageHandler handler; ///< gone before the context
};

} // namespace

TEST_F(TriageLock, GivenFailingReceiversLock_WhenRegistered_ThenThrowsBeforeAnythingIsMadeOrRecorded)
{
    {
        const FailingLock failing(handler, 1);
        EXPECT_THROW(handler.registerContext("", &context), std::system_error);
    }
    EXPECT_THAT(transport.calls(), IsEmpty());
    EXPECT_THAT(log.texts(), ElementsAre(HasSubstr("registering context=")));
    EXPECT_EQ(Known(), 0U);
}

TEST_F(TriageLock, GivenFailingContextsLock_WhenRegistered_ThenThrowsAfterTheReceiversWereMade)
{
    {
        const FailingLock failing(handler, 2);
        EXPECT_THROW(handler.registerContext("", &context), std::system_error);
    }
    EXPECT_EQ(transport.receivers(envTopic), 1);
    EXPECT_EQ(Known(), 0U);
}

TEST_F(TriageLock, GivenName_WhenTheFirstLockFails_ThenItWasTheContexts)
{
    {
        const FailingLock failing(handler, 1);
        EXPECT_THROW(handler.registerContext("Prices", &context), std::system_error);
    }
    EXPECT_EQ(Known(), 0U);
}

TEST_F(TriageLock, GivenFailingLock_WhenUnregistered_ThenTheReceiversHadGoneWithoutIt)
{
    handler.registerContext("", &context);
    {
        const FailingLock failing(handler, 1);
        EXPECT_THROW(handler.unregisterContext(&context), std::system_error);
    }
    EXPECT_EQ(transport.receivers(envTopic), 0);
    EXPECT_EQ(Known(), 1U);
}

TEST_F(TriageLock, GivenFailingLock_WhenNaksAreSwitched_ThenThrowsAfterTheBeginLineBeforeAnyContext)
{
    handler.registerContext("Prices", &context);
    log.clear();
    const FailingLock failing(handler, 1);
    EXPECT_THROW(handler.toggleNaks(false, "ALL"), std::system_error);
    EXPECT_THAT(log.texts(), ElementsAre("begin toggling NAKs for contexts matching ALL enable_naks=0"));
}

TEST_F(TriageLock, GivenFailingLock_WhenANakKillRequestIsHandled_ThenErrorAndNoAnswer)
{
    handler.registerContext("Prices", &context);
    log.clear();
    const FailingLock failing(handler, 1);
    handler.handleTriageMessage(transport.make_message({.type = LBM_MSG_REQUEST,
                                                        .payload = lbm::test::NakKillRequest("1", 3, false),
                                                        .topic = "T",
                                                        .withResponse = true}));
    EXPECT_THAT(log.texts(QXLOG_ERROR),
                ElementsAre("exception parsing Triage Message topic=T error=Resource deadlock avoided"));
    EXPECT_THAT(Answers(transport), IsEmpty());
}

TEST_F(TriageLock, GivenDisabledHandler_WhenRegistered_ThenNothingIsLocked)
{
    variables.Set("DISABLE_LBM_TRIAGE_HANDLER", "1");
    lbm::LbmTriageHandler disabled;
    disabled.Initialize();
    const FailingLock failing(disabled, 1);
    EXPECT_NO_THROW(disabled.registerContext("", &context));
    EXPECT_NO_THROW(disabled.unregisterContext(&context));
}

TEST_F(TriageLock, GivenReceiversBeingMade_WhenNaksAreSwitchedMeanwhile_ThenTheyDoNotWaitForEachOther)
{
    std::future<void> switching;
    bool finished = false;
    transport.on_call("lbm_rcv_create", [&] {
        if (!switching.valid()) {
            switching = std::async(std::launch::async, [&] { handler.toggleNaks(true, "ALL"); });
            finished = switching.wait_for(std::chrono::seconds(20)) == std::future_status::ready;
        }
    });
    handler.registerContext("", &context);
    EXPECT_TRUE(finished);
}
