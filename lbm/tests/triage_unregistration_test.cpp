#include <string>

#include "lbm/tests/triage_registration_fixture.h"

using namespace qx::logging;
using lbm::test::HandleText;
using lbm::test::Statement;
using lbm::test::TriageRegistration;
using lbm::test::TriageStatement;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

using TriageUnregistration = TriageRegistration;

} // namespace

TEST_F(TriageUnregistration, GivenReceivers_WhenTheirContextUnregisters_ThenStatementsInOrder)
{
    handler->registerContext("", &*first);
    log.clear();
    handler->unregisterContext(&*first);
    EXPECT_THAT(log.statements(),
                ElementsAre(TriageStatement(QXLOG_INFO_SEARCH, 1402,
                                            "destroying triage_handler receivers that were created on context=" +
                                                HandleText(*first) + " because this context is being destroyed"),
                            Statement(QXLOG_INFO, 1162, "Deleting receiver on topic=TRIAGE.ACTION.DEV.LBM"),
                            Statement(QXLOG_INFO, 1162, "Deleting receiver on topic=TRIAGE.ACTION.DEV.LBM.CH"),
                            TriageStatement(QXLOG_INFO_SEARCH, 1414,
                                            "unregistering context=" + HandleText(*first) + " with name=")));
    EXPECT_EQ(Known(), 0U);
}

TEST_F(TriageUnregistration, GivenTwoUnnamedContexts_WhenTheCarrierUnregisters_ThenTheOtherDoesNotTakeOver)
{
    handler->registerContext("", &*first);
    handler->registerContext("", &*second);
    handler->unregisterContext(&*first);
    EXPECT_EQ(Receivers(), 0);
    EXPECT_EQ(Known(), 1U);
}

TEST_F(TriageUnregistration, GivenCarrierGone_WhenAnotherUnnamedContextRegisters_ThenItCarriesNewReceivers)
{
    handler->registerContext("", &*first);
    handler->unregisterContext(&*first);
    handler->registerContext("", &*second);
    EXPECT_EQ(Receivers(), 2);
}

TEST_F(TriageUnregistration, GivenCarrierGone_WhenANamedContextRegisters_ThenNoReceivers)
{
    handler->registerContext("", &*first);
    handler->unregisterContext(&*first);
    handler->registerContext("Prices", &*second);
    EXPECT_EQ(Receivers(), 0);
}

TEST_F(TriageUnregistration, GivenOtherContext_WhenItUnregisters_ThenTheReceiversStay)
{
    handler->registerContext("", &*first);
    handler->registerContext("", &*second);
    handler->unregisterContext(&*second);
    EXPECT_EQ(Receivers(), 2);
    EXPECT_EQ(Known(), 1U);
}

TEST_F(TriageUnregistration, GivenTwoContextsOfOneName_WhenTheSecondUnregisters_ThenExactlyItsEntryGoes)
{
    handler->registerContext("Prices", &*first);
    handler->registerContext("Prices", &*second);
    log.clear();
    handler->unregisterContext(&*second);
    EXPECT_THAT(log.texts(), ElementsAre("unregistering context=" + HandleText(*second) + " with name=Prices"));
    EXPECT_EQ(Known(), 1U);
    handler->unregisterContext(&*first);
    EXPECT_EQ(Known(), 0U);
}

TEST_F(TriageUnregistration, GivenContextRegisteredTwice_WhenUnregisteredOnce_ThenTheFirstEntryInKeyOrderGoes)
{
    handler->registerContext("b", &*first);
    handler->registerContext("a", &*first);
    log.clear();
    handler->unregisterContext(&*first);
    EXPECT_THAT(log.texts(), ElementsAre(::testing::EndsWith(" with name=a")));
    EXPECT_EQ(Known(), 1U);
}

TEST_F(TriageUnregistration, GivenUnknownContext_WhenUnregistered_ThenPassedOverInSilence)
{
    handler->registerContext("Prices", &*first);
    log.clear();
    handler->unregisterContext(&*second);
    EXPECT_THAT(log.texts(), IsEmpty());
    EXPECT_EQ(Known(), 1U);
}

TEST_F(TriageUnregistration, GivenContextAlreadyUnregistered_WhenUnregisteredAgain_ThenSilence)
{
    handler->registerContext("", &*first);
    handler->unregisterContext(&*first);
    log.clear();
    transport.clear_calls();
    handler->unregisterContext(&*first);
    EXPECT_THAT(log.texts(), IsEmpty());
    EXPECT_THAT(transport.calls(), IsEmpty());
}
