#include <string>
#include <thread>
#include <vector>

#include "lbm/tests/platform_calls.h"
#include "lbm/tests/triage_registration_fixture.h"

using namespace qx::logging;
using lbm::test::envDcTopic;
using lbm::test::envTopic;
using lbm::test::HandleText;
using lbm::test::Statement;
using lbm::test::TriageRegistration;
using lbm::test::TriageStatement;
using qx::test::Calls;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

namespace {

class TriageRegistrationAboveSearch : public TriageRegistration {
protected:
    TriageRegistrationAboveSearch()
        : TriageRegistration(QXLOG_INFO_SEARCH + 1)
    {
    }
};

class TriageRegistrationAboveError : public TriageRegistration {
protected:
    TriageRegistrationAboveError()
        : TriageRegistration(QXLOG_ERROR + 1)
    {
    }
};

} // namespace

TEST_F(TriageRegistration, GivenName_WhenRegistered_ThenOneStatementAndNoReceivers)
{
    handler->registerContext("Prices", &*first);
    EXPECT_THAT(log.statements(), ElementsAre(TriageStatement(QXLOG_INFO_SEARCH, 1359,
                                                              "registering context=" + HandleText(*first) +
                                                                  " with context_name=Prices")));
    EXPECT_THAT(transport.calls(), IsEmpty());
    EXPECT_EQ(Known(), 1U);
}

TEST_F(TriageRegistration, GivenNoName_WhenRegistered_ThenStatementsInOrder)
{
    handler->registerContext("", &*first);
    const std::string on = " on context=" + HandleText(*first) + " with context_name=";
    EXPECT_THAT(log.statements(),
                ElementsAre(TriageStatement(QXLOG_INFO_SEARCH, 1359,
                                            "registering context=" + HandleText(*first) + " with context_name="),
                            Statement(QXLOG_INFO, 1147, "Creating receiver on topic=TRIAGE.ACTION.DEV.LBM"),
                            TriageStatement(QXLOG_INFO_SEARCH, 1374,
                                            "created triage_handler receiver topic=TRIAGE.ACTION.DEV.LBM" + on),
                            Statement(QXLOG_INFO, 1147, "Creating receiver on topic=TRIAGE.ACTION.DEV.LBM.CH"),
                            TriageStatement(QXLOG_INFO_SEARCH, 1376,
                                            "created triage_handler receiver topic=TRIAGE.ACTION.DEV.LBM.CH" + on)));
}

TEST_F(TriageRegistration, GivenNoName_WhenRegistered_ThenBothTopicsAreResolvedWithFreshAttributesBeforeAnyReceiver)
{
    handler->registerContext("", &*first);
    EXPECT_EQ(transport.calls(),
              (Calls{"lbm_rcv_topic_attr_create() = rcv_topic_attr#1",
                     "lbm_rcv_topic_lookup(context#1, 'TRIAGE.ACTION.DEV.LBM', rcv_topic_attr#1) = topic#1",
                     "lbm_rcv_topic_attr_delete(rcv_topic_attr#1)", "lbm_rcv_topic_attr_create() = rcv_topic_attr#2",
                     "lbm_rcv_topic_lookup(context#1, 'TRIAGE.ACTION.DEV.LBM.CH', rcv_topic_attr#2) = topic#2",
                     "lbm_rcv_topic_attr_delete(rcv_topic_attr#2)",
                     "lbm_rcv_create(context#1, topic#1, callback, clientd, null) = rcv#1",
                     "lbm_rcv_create(context#1, topic#2, callback, clientd, null) = rcv#2"}));
}

TEST_F(TriageRegistration, GivenReceivers_WhenAnotherUnnamedContextRegisters_ThenNoMoreAreMade)
{
    handler->registerContext("", &*first);
    transport.clear_calls();
    handler->registerContext("", &*second);
    EXPECT_THAT(transport.calls(), IsEmpty());
    EXPECT_EQ(Known(), 2U);
}

TEST_F(TriageRegistration, GivenNamedContextFirst_WhenAnUnnamedOneRegisters_ThenItCarriesTheReceivers)
{
    handler->registerContext("Prices", &*first);
    handler->registerContext("", &*second);
    EXPECT_THAT(transport.calls("lbm_rcv_create"),
                ElementsAre(StartsWith("lbm_rcv_create(context#2,"), StartsWith("lbm_rcv_create(context#2,")));
}

TEST_F(TriageRegistration, GivenPrefix_WhenRegistered_ThenItGoesBeforeBothTopicsAsItStands)
{
    variables.Set("LBM_TRIAGE_HANDLER_TOPIC_PREFIX", "a.");
    handler->registerContext("", &*first);
    EXPECT_EQ(transport.receivers("a.TRIAGE.ACTION.DEV.LBM"), 1);
    EXPECT_EQ(transport.receivers("a.TRIAGE.ACTION.DEV.LBM.CH"), 1);
}

TEST_F(TriageRegistration, GivenPrefixWithoutSeparator_WhenRegistered_ThenNoneIsAdded)
{
    variables.Set("LBM_TRIAGE_HANDLER_TOPIC_PREFIX", "X");
    handler->registerContext("", &*first);
    EXPECT_EQ(transport.receivers("XTRIAGE.ACTION.DEV.LBM"), 1);
}

TEST_F(TriageRegistration, GivenPrefixThatChanges_WhenTriedAgain_ThenTheNewOneIsUsed)
{
    transport.fail_next("lbm_rcv_topic_lookup");
    variables.Set("LBM_TRIAGE_HANDLER_TOPIC_PREFIX", "A.");
    handler->registerContext("", &*first);
    variables.Set("LBM_TRIAGE_HANDLER_TOPIC_PREFIX", "B.");
    handler->registerContext("", &*second);
    EXPECT_EQ(transport.receivers("B.TRIAGE.ACTION.DEV.LBM"), 1);
}

TEST_F(TriageRegistration, GivenPrefixThatChangesMeanwhile_WhenRegistered_ThenBothTopicsHaveTheOneReadFirst)
{
    variables.Set("LBM_TRIAGE_HANDLER_TOPIC_PREFIX", "A.");
    transport.on_call("lbm_rcv_topic_lookup", [&] { variables.Set("LBM_TRIAGE_HANDLER_TOPIC_PREFIX", "B."); });
    handler->registerContext("", &*first);
    EXPECT_EQ(transport.receivers("A.TRIAGE.ACTION.DEV.LBM"), 1);
    EXPECT_EQ(transport.receivers("A.TRIAGE.ACTION.DEV.LBM.CH"), 1);
}

TEST_F(TriageRegistration, GivenFailingFirstLookup_WhenRegistered_ThenLoggedTwiceAndTheContextIsKnown)
{
    transport.fail_next("lbm_rcv_topic_lookup", LBM_EINVAL, "no such thing");
    handler->registerContext("", &*first);
    EXPECT_THAT(log.statements(),
                ElementsAre(TriageStatement(QXLOG_INFO_SEARCH, 1359,
                                            "registering context=" + HandleText(*first) + " with context_name="),
                            Statement(QXLOG_ERROR, 65, "Failed to lookup LBM topic: no such thing"),
                            TriageStatement(QXLOG_ERROR, 1382,
                                            "failed to create triage receivers on context=" + HandleText(*first) +
                                                " exception=Failed to lookup LBM topic: no such thing")));
    EXPECT_EQ(Known(), 1U);
}

TEST_F(TriageRegistration, GivenFailingSecondLookup_WhenRegistered_ThenNoReceiverAndNoAttributesStay)
{
    transport.fail_nth("lbm_rcv_topic_lookup", 2);
    handler->registerContext("", &*first);
    EXPECT_THAT(transport.calls("lbm_rcv_create"), IsEmpty());
    EXPECT_THAT(transport.leaks(), ElementsAre("context#1", "context#2"));
}

TEST_F(TriageRegistration, GivenFailingAttributes_WhenRegistered_ThenLoggedAndTheNextUnnamedContextTriesAgain)
{
    transport.fail_next("lbm_rcv_topic_attr_create");
    handler->registerContext("", &*first);
    EXPECT_THAT(log.texts(QXLOG_ERROR),
                ElementsAre("Failed to create LBM receiver topic attributes: scripted",
                            HasSubstr("exception=Failed to create LBM receiver topic attributes: scripted")));
    handler->registerContext("", &*second);
    EXPECT_EQ(Receivers(), 2);
}

TEST_F(TriageRegistration, GivenFailingAttributeDeletion_WhenRegistered_ThenLoggedAndReceiversAreMade)
{
    transport.fail_next("lbm_rcv_topic_attr_delete");
    handler->registerContext("", &*first);
    EXPECT_THAT(log.texts(QXLOG_ERROR), ElementsAre("Failed to delete LBM receiver topic attributes: scripted"));
    EXPECT_EQ(Receivers(), 2);
}

TEST_F(TriageRegistration, GivenFailingFirstReceiver_WhenRegistered_ThenNoneIsMadeAndTheContextIsKnown)
{
    transport.fail_nth("lbm_rcv_create", 1);
    handler->registerContext("", &*first);
    EXPECT_EQ(Receivers(), 0);
    EXPECT_THAT(log.texts(QXLOG_ERROR), ElementsAre("Failed to create LBM receiver: scripted",
                                                    HasSubstr("exception=Failed to create LBM receiver: scripted")));
    EXPECT_EQ(Known(), 1U);
}

TEST_F(TriageRegistration, GivenFailingSecondReceiver_WhenRegistered_ThenTheFirstStays)
{
    transport.fail_nth("lbm_rcv_create", 2);
    handler->registerContext("", &*first);
    EXPECT_EQ(transport.receivers(envTopic), 1);
    EXPECT_EQ(transport.receivers(envDcTopic), 0);
}

TEST_F(TriageRegistration, GivenReceiverOfAFailedAttempt_WhenTheNextUnnamedContextRegisters_ThenItIsReplaced)
{
    transport.fail_nth("lbm_rcv_create", 2);
    handler->registerContext("", &*first);
    handler->registerContext("", &*second);
    EXPECT_THAT(transport.calls("lbm_rcv_delete"), ElementsAre("lbm_rcv_delete(rcv#1)"));
    EXPECT_EQ(transport.receivers(envTopic), 1);
    EXPECT_EQ(transport.receivers(envDcTopic), 1);
}

TEST_F(TriageRegistration, GivenFailedAttempt_WhenThatContextUnregisters_ThenItsReceiverIsNotDestroyed)
{
    transport.fail_nth("lbm_rcv_create", 2);
    handler->registerContext("", &*first);
    handler->unregisterContext(&*first);
    EXPECT_EQ(transport.receivers(envTopic), 1);
}

TEST_F(TriageRegistration, GivenStandardExceptionOfAnotherKind_WhenRegistered_ThenLoggedAndSwallowed)
{
    transport.on_call("lbm_rcv_create", [] { throw std::bad_alloc(); });
    EXPECT_NO_THROW(handler->registerContext("", &*first));
    EXPECT_THAT(log.texts(QXLOG_ERROR), ElementsAre("failed to create triage receivers on context=" +
                                                    HandleText(*first) + " exception=std::bad_alloc"));
    transport.on_call("lbm_rcv_create", {});
    EXPECT_EQ(Known(), 1U);
}

TEST_F(TriageRegistration, GivenMove_WhenTheOldAddressUnregisters_ThenNothingGoes)
{
    handler->registerContext("", &*first);
    handler->moveContext(&*first, &*second);
    handler->unregisterContext(&*first);
    EXPECT_EQ(Receivers(), 2);
    EXPECT_EQ(Known(), 1U);
}

TEST_F(TriageRegistration, GivenMove_WhenTheNewAddressUnregisters_ThenReceiversAndEntryGo)
{
    handler->registerContext("", &*first);
    handler->moveContext(&*first, &*second);
    handler->unregisterContext(&*second);
    EXPECT_EQ(Receivers(), 0);
    EXPECT_EQ(Known(), 0U);
}

TEST_F(TriageRegistration, GivenUnknownContext_WhenMoved_ThenNothingIsKnown)
{
    handler->moveContext(&*first, &*second);
    EXPECT_EQ(Known(), 0U);
}

TEST_F(TriageRegistration, GivenDisabledHandler_WhenRegisteredAndUnregistered_ThenNothingHappens)
{
    variables.Set("DISABLE_LBM_TRIAGE_HANDLER", "1");
    lbm::LbmTriageHandler disabled;
    disabled.Initialize();
    log.clear();
    disabled.registerContext("", &*first);
    disabled.unregisterContext(&*first);
    EXPECT_THAT(log.texts(), IsEmpty());
    EXPECT_THAT(transport.calls(), IsEmpty());
}

TEST_F(TriageRegistration, GivenDisabledHandler_WhenRegistered_ThenNothingIsRecorded)
{
    variables.Set("DISABLE_LBM_TRIAGE_HANDLER", "1");
    handler.emplace();
    handler->Initialize();
    handler->registerContext("Prices", &*first);
    EXPECT_EQ(Known(), 0U);
}

TEST_F(TriageRegistrationAboveSearch, GivenSuccess_WhenRegisteredAndUnregistered_ThenNoLines)
{
    handler->registerContext("", &*first);
    handler->unregisterContext(&*first);
    EXPECT_THAT(log.texts(), IsEmpty());
    EXPECT_THAT(transport.calls("lbm_rcv_delete"), ElementsAre("lbm_rcv_delete(rcv#1)", "lbm_rcv_delete(rcv#2)"));
}

TEST_F(TriageRegistrationAboveError, GivenFailure_WhenRegistered_ThenNoLine)
{
    transport.fail_next("lbm_rcv_topic_lookup");
    handler->registerContext("", &*first);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(TriageRegistration, GivenNoName_WhenRegistered_ThenTheReceiversLockIsReleasedBeforeTheOtherIsTaken)
{
    const lbm::test::RecordedLocks locks(*handler);
    handler->registerContext("", &*first);
    EXPECT_EQ(locks.events, "LULU");
}

TEST_F(TriageRegistration, GivenCarrier_WhenMoved_ThenBothLocksAreTakenOneAfterTheOther)
{
    handler->registerContext("", &*first);
    const lbm::test::RecordedLocks locks(*handler);
    handler->moveContext(&*first, &*second);
    EXPECT_EQ(locks.events, "LULU");
}

TEST_F(TriageRegistration, GivenManyThreads_WhenUnnamedContextsComeMoveAndGo_ThenNothingIsLeft)
{
    std::vector<std::thread> threads(4);
    for (auto& thread : threads) {
        thread = std::thread([&] {
            for (int round = 0; round < 100; ++round) {
                lbm::Context context;
                lbm::Context moved;
                handler->registerContext("", &context);
                handler->moveContext(&context, &moved);
                handler->toggleNaks(false, "");
                handler->unregisterContext(&moved);
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(Receivers(), 0);
    EXPECT_EQ(Known(), 0U);
}
