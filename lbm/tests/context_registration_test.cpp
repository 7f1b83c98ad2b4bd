// Contexts and the process's handler: registration by construction, moves, destruction.
#include <csignal>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

#include "lbm/tests/platform_calls.h"
#include "lbm/tests/triage_process.h"

using namespace lbm::test;
using ::testing::AllOf;
using ::testing::ExitedWithCode;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::Not;

namespace {

using ContextRegistration = TriageProcess;

constexpr int order = triage::ORDER;
constexpr int all = triage::ALL;

} // namespace

TEST_F(ContextRegistration, GivenNames_WhenContextsAreMade_ThenTheyAreKnownByThem)
{
    EXPECT_EXIT(RunChild([](Child& child) {
                    const lbm::Context unnamed;
                    const lbm::Context prices(lbm::ContextAttributes("PriceEnvironmentContext"));
                    child.TellSwitched(order);
                    child.TellSwitched(triage::PRICE);
                    child.TellSwitched(all);
                }),
                ExitedWithCode(0),
                HasSubstr("| delivered, switched 1, answered 1\n| delivered, switched 1, answered 1\n"
                          "| delivered, switched 2, answered 1\n"));
}

TEST_F(ContextRegistration, GivenUnreadableName_WhenMade_ThenRegisteredWithoutOneAndCarriesTheReceivers)
{
    EXPECT_EXIT(RunChild([](Child& child) {
                    child.transport.fail_next("lbm_context_str_getopt");
                    const lbm::Context context(lbm::ContextAttributes("Prices"));
                    child.TellReceivers();
                    child.TellSwitched(order);
                }),
                ExitedWithCode(0), HasSubstr("| receivers 2\n| delivered, switched 1, answered 1\n"));
}

TEST_F(ContextRegistration, GivenNamedContext_WhenMade_ThenItCarriesNoReceivers)
{
    EXPECT_EXIT(RunChild([](Child& child) {
                    const lbm::Context context(lbm::ContextAttributes("Prices"));
                    child.TellReceivers();
                }),
                ExitedWithCode(0), HasSubstr("| receivers 0\n"));
}

TEST_F(ContextRegistration, GivenCarrier_WhenDestroyed_ThenReceiversGoBeforeTheTransportContext)
{
    EXPECT_EXIT(RunChild([](Child& child) {
                    {
                        const lbm::Context context;
                    }
                    for (const auto& call : child.transport.calls("lbm_")) {
                        if (call.find("_delete(rcv#") != std::string::npos ||
                            call.find("context_delete") != std::string::npos) {
                            child.Tell(call);
                        }
                    }
                }),
                ExitedWithCode(0),
                HasSubstr("| lbm_rcv_delete(rcv#1)\n| lbm_rcv_delete(rcv#2)\n| lbm_context_delete(context#1)\n"));
}

TEST_F(ContextRegistration, GivenContext_WhenDestroyed_ThenItsLineIsPrintedBeforeItUnregisters)
{
    EXPECT_EXIT(RunChild([](Child& child) {
                    child.transport.on_call("lbm_rcv_delete", [&] { child.Tell("receiver deleted"); });
                    const lbm::Context context;
                }),
                ExitedWithCode(0),
                MatchesRegex("Destroying LBM context=0x[0-9a-f]+ context_name=\n\\| receiver deleted\n.*"));
}

TEST_F(ContextRegistration, GivenDestroyedContext_WhenAllAreSwitched_ThenItIsNotAmongThem)
{
    EXPECT_EXIT(RunChild([](Child& child) {
                    const lbm::Context carrier;
                    {
                        const lbm::Context other;
                    }
                    child.TellSwitched(all);
                }),
                ExitedWithCode(0), HasSubstr("| delivered, switched 1, answered 1\n"));
}

TEST_F(ContextRegistration, GivenCarrier_WhenMovedAndTheSourceIsDestroyed_ThenReceiversAndRegistrationStay)
{
    EXPECT_EXIT(RunChild([](Child& child) {
                    std::optional<lbm::Context> source(std::in_place);
                    const lbm::Context target(std::move(*source));
                    source.reset();
                    child.TellReceivers();
                    child.TellSwitched(order);
                }),
                ExitedWithCode(0),
                HasSubstr("Destroying LBM context=0 context_name=\n"
                          "| receivers 2\n| delivered, switched 1, answered 1\n"));
}

TEST_F(ContextRegistration, GivenMovedFromContext_WhenDestroyed_ThenOnlyItsLineAndNoStatement)
{
    EXPECT_EXIT(RunChild([](Child& child) {
                    std::optional<lbm::Context> source(std::in_place);
                    const lbm::Context target(std::move(*source));
                    child.log.clear();
                    source.reset();
                    child.Tell("lines " + std::to_string(child.log.texts().size()));
                }),
                ExitedWithCode(0), HasSubstr("| lines 0\n"));
}

TEST_F(ContextRegistration, GivenMovedCarrier_WhenTheTargetIsDestroyed_ThenReceiversGo)
{
    EXPECT_EXIT(RunChild([](Child& child) {
                    lbm::Context source;
                    {
                        const lbm::Context target(std::move(source));
                    }
                    child.TellReceivers();
                }),
                ExitedWithCode(0), HasSubstr("| receivers 0\n"));
}

TEST_F(ContextRegistration, GivenMoveAssignment_WhenAssigned_ThenTheTargetsOldRegistrationEndsAndTheSourcesFollows)
{
    EXPECT_EXIT(RunChild([](Child& child) {
                    lbm::Context carrier;
                    lbm::Context target(lbm::ContextAttributes("PriceEnvironmentContext"));
                    target = std::move(carrier);
                    child.TellReceivers();
                    child.TellSwitched(triage::PRICE);
                    child.TellSwitched(order);
                }),
                ExitedWithCode(0),
                HasSubstr("| receivers 2\n| delivered, switched 0, answered 1\n"
                          "| delivered, switched 1, answered 1\n"));
}

TEST_F(ContextRegistration, GivenMoveAssignmentOntoTheCarrier_WhenAssigned_ThenItsReceiversGo)
{
    EXPECT_EXIT(RunChild([](Child& child) {
                    lbm::Context carrier;
                    lbm::Context other;
                    carrier = std::move(other);
                    child.TellReceivers();
                }),
                ExitedWithCode(0), HasSubstr("| receivers 0\n"));
}

TEST_F(ContextRegistration, GivenMoveAssignmentToItself_WhenAssigned_ThenItStaysRegistered)
{
    EXPECT_EXIT(RunChild([](Child& child) {
                    lbm::Context context;
                    auto& same = context;
                    context = std::move(same);
                    child.TellReceivers();
                    child.TellSwitched(order);
                }),
                ExitedWithCode(0), HasSubstr("| receivers 2\n| delivered, switched 1, answered 1\n"));
}

TEST_F(ContextRegistration, GivenFailingReceiversLock_WhenMade_ThenThrowsAndTheTransportContextIsReleased)
{
    EXPECT_EXIT(RunChild([](Child& child) {
                    const auto handler = lbm::LbmTriageHandler::getInstance();
                    {
                        const FailingLock failing(*handler, 1);
                        EXPECT_THROW(lbm::Context(), std::system_error);
                    }
                    child.Tell("leaks " + std::to_string(child.transport.leaks().size()));
                    const lbm::Context context;
                    child.TellSwitched(all);
                }),
                ExitedWithCode(0), HasSubstr("| leaks 0\n| delivered, switched 1, answered 1\n"));
}

TEST_F(ContextRegistration, GivenFailingContextsLock_WhenMade_ThenThrowsAndItsReceiversAreGone)
{
    EXPECT_EXIT(RunChild([](Child& child) {
                    const auto handler = lbm::LbmTriageHandler::getInstance();
                    {
                        const FailingLock failing(*handler, 2);
                        EXPECT_THROW(lbm::Context(), std::system_error);
                    }
                    child.TellReceivers();
                    child.Tell("leaks " + std::to_string(child.transport.leaks().size()));
                }),
                ExitedWithCode(0), HasSubstr("| receivers 0\n| leaks 0\n"));
}

TEST_F(ContextRegistration, GivenFailingLock_WhenDestroyed_ThenTheProcessEnds)
{
    EXPECT_EXIT(RunChild([](Child& child) {
                    const auto handler = lbm::LbmTriageHandler::getInstance();
                    std::optional<lbm::Context> context(std::in_place);
                    const FailingLock failing(*handler, 1);
                    child.Tell("destroying");
                    context.reset();
                    child.Tell("destroyed");
                }),
                ::testing::KilledBySignal(SIGABRT),
                AllOf(HasSubstr("| destroying\n"), Not(HasSubstr("| destroyed\n"))));
}

TEST_F(ContextRegistration, GivenFailingLock_WhenMoved_ThenTheProcessEnds)
{
    EXPECT_EXIT(RunChild([](Child& child) {
                    const auto handler = lbm::LbmTriageHandler::getInstance();
                    lbm::Context source;
                    const FailingLock failing(*handler, 1);
                    child.Tell("moving");
                    const lbm::Context target(std::move(source));
                    child.Tell("moved");
                }),
                ::testing::KilledBySignal(SIGABRT), AllOf(HasSubstr("| moving\n"), Not(HasSubstr("| moved\n"))));
}

TEST_F(ContextRegistration, GivenTriageOff_WhenContextsComeAndGo_ThenTheyWorkWithoutALineOfTriage)
{
    EXPECT_EXIT(
        RunChild([](Child& child) {
            child.variables.Unset("DATA_CENTER");
            {
                const lbm::Context context;
            }
            child.TellLog();
            child.Tell("leaks " + std::to_string(child.transport.leaks().size()));
        }),
        ExitedWithCode(0),
        AllOf(HasSubstr("| CHEF_ENVIRONMENT or DATA_CENTER"), HasSubstr("| leaks 0\n"), Not(HasSubstr("registering"))));
}
