// The one handler of a process: when it is made, tried again, shared, and gone.
#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "lbm/tests/triage_process.h"

using namespace lbm::test;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ExitedWithCode;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::Not;

namespace {

const std::string destructorLines = "lbm_triage_handler destructor called\n"
                                    "lbm_triage_handler destructor deleting env receiver\n";

} // namespace

TEST_F(TriageProcess, GivenFreshProcess_WhenTheFirstContextIsMade_ThenTheHandlerComesBeforeIt)
{
    EXPECT_EXIT(RunChild([](Child& child) {
                    const lbm::Context context;
                    child.TellLog();
                }),
                ExitedWithCode(0),
                AllOf(MatchesRegex(".*\\| Initializing LbmTriageHandler\n"
                                   "\\| Created LBM context=.*\n"
                                   "\\| registering context=.*"),
                      HasSubstr("created triage_handler receiver topic=TRIAGE.ACTION.DEV.LBM.CH on context=")));
}

TEST_F(TriageProcess, GivenFailingContext_WhenMade_ThenTheHandlerIsInitialisedAndNothingIsRegistered)
{
    EXPECT_EXIT(RunChild([](Child& child) {
                    child.transport.fail_next("lbm_context_create");
                    child.Tell(ThrownText([] { lbm::Context context; }));
                    child.TellLog();
                }),
                ExitedWithCode(0),
                AllOf(HasSubstr("| Failed to create LBM context: scripted\n| Initializing LbmTriageHandler\n"),
                      Not(HasSubstr("registering"))));
}

TEST_F(TriageProcess, GivenTwoContexts_WhenMade_ThenTheHandlerIsInitialisedOnce)
{
    EXPECT_EXIT(RunChild([](Child& child) {
                    const lbm::Context first;
                    const lbm::Context second;
                    const auto lines = child.log.texts();
                    child.Tell(std::to_string(std::count(lines.begin(), lines.end(), "Initializing LbmTriageHandler")) +
                               " time");
                }),
                ExitedWithCode(0), HasSubstr("| 1 time\n"));
}

TEST_F(TriageProcess, GivenManyThreads_WhenAllAskAtOnce_ThenAllGetTheSameInitialisedOnce)
{
    EXPECT_EXIT(RunChild([](Child& child) {
                    std::vector<std::shared_ptr<lbm::LbmTriageHandler>> got(8);
                    std::vector<std::thread> threads;
                    threads.reserve(got.size());
                    for (auto& place : got) {
                        threads.emplace_back([&] { place = lbm::LbmTriageHandler::getInstance(); });
                    }
                    for (auto& thread : threads) {
                        thread.join();
                    }
                    child.Tell(std::to_string(std::set(got.begin(), got.end()).size()) + " handler, " +
                               std::to_string(child.log.texts().size()) + " line");
                }),
                ExitedWithCode(0), HasSubstr("| 1 handler, 1 line\n"));
}

TEST_F(TriageProcess, GivenInitializationThatThrows_WhenAContextIsMade_ThenItComesOutBeforeAnyContext)
{
    EXPECT_EXIT(RunChild([](Child& child) {
                    child.variables.Set("TRIAGE_HANDLER_USE_EVENT_QUEUE", "1");
                    child.transport.fail_next("lbm_event_queue_create");
                    child.Tell(ThrownText([] { lbm::Context context; }));
                    child.Tell("contexts " + std::to_string(child.transport.calls("lbm_context_create").size()));
                }),
                ExitedWithCode(0),
                HasSubstr("lbm_triage_handler destructor called\n"
                          "| Failed to create LBM event queue: scripted\n| contexts 0\n"));
}

TEST_F(TriageProcess, GivenInitializationThatThrew_WhenTheNextContextIsMade_ThenItIsTriedAgain)
{
    EXPECT_EXIT(RunChild([](Child& child) {
                    child.variables.Set("TRIAGE_HANDLER_USE_EVENT_QUEUE", "1");
                    child.transport.fail_next("lbm_event_queue_create");
                    EXPECT_THROW(lbm::Context(), lbm::LbmError);
                    child.variables.Unset("TRIAGE_HANDLER_USE_EVENT_QUEUE");
                    const lbm::Context context;
                    child.TellReceivers();
                }),
                ExitedWithCode(0), HasSubstr("| receivers 2\n"));
}

TEST_F(TriageProcess, GivenQueueThatFailedOnce_WhenTheNextContextIsMade_ThenItHasQueueAndThread)
{
    EXPECT_EXIT(RunChild([](Child& child) {
                    child.variables.Set("TRIAGE_HANDLER_USE_EVENT_QUEUE", "1");
                    child.transport.fail_next("lbm_event_queue_create");
                    EXPECT_THROW(lbm::Context(), lbm::LbmError);
                    child.log.clear();
                    const lbm::Context context;
                    for (const auto& call : child.transport.calls("lbm_rcv_create")) {
                        child.Tell(call);
                    }
                    EXPECT_THAT(child.log.texts(), Contains(HasSubstr("started triage_handler event_queue=0x")));
                }),
                ExitedWithCode(0),
                MatchesRegex(".*topic#1, callback, clientd, event_queue#[0-9].*"
                             "topic#2, callback, clientd, event_queue#[0-9].*"
                             "lbm_triage_handler destructor joined event_queue=0x.*"));
}

TEST_F(TriageProcess, GivenEnvironmentThatChangesLater_WhenContextsAreMade_ThenTheFirstReadingHolds)
{
    EXPECT_EXIT(RunChild([](Child& child) {
                    child.variables.Set("DISABLE_LBM_TRIAGE_HANDLER", "0");
                    const lbm::Context first;
                    child.variables.Unset("DISABLE_LBM_TRIAGE_HANDLER");
                    const lbm::Context second;
                    child.TellReceivers();
                }),
                ExitedWithCode(0), HasSubstr("| receivers 0\n"));
}

TEST_F(TriageProcess, GivenNoContext_WhenTheProcessExits_ThenTheHandlerIsDestroyed)
{
    EXPECT_EXIT(RunChild([](Child&) { lbm::LbmTriageHandler::getInstance(); }), ExitedWithCode(0),
                "lbm_triage_handler destructor called\n");
}

TEST_F(TriageProcess, GivenProcessThatVanishesAfterwards_WhenTheHandlerIsDestroyed_ThenItsLinesWereFlushed)
{
    EXPECT_EXIT(RunChild([](Child&) {
                    std::setvbuf(stdout, nullptr, _IOFBF, BUFSIZ);
                    std::make_unique<lbm::LbmTriageHandler>().reset();
                    _exit(0);
                }),
                ExitedWithCode(0), "lbm_triage_handler destructor called\n");
}

TEST_F(TriageProcess, GivenHandlerNeverAskedFor_WhenTheProcessExits_ThenNothingIsPrinted)
{
    EXPECT_EXIT(RunChild([](Child&) {}), ExitedWithCode(0), Not(HasSubstr("lbm_triage_handler")));
}

TEST_F(TriageProcess, GivenStaticContext_WhenTheProcessExits_ThenItGoesBeforeTheHandler)
{
    EXPECT_EXIT(RunChild([](Child&) { static const lbm::Context context; }), ExitedWithCode(0),
                MatchesRegex("Destroying LBM context=0x[0-9a-f]+ context_name=\n"
                             "lbm_triage_handler destructor called\n"));
}

TEST_F(TriageProcess, GivenContextThatIsNeverDestroyed_WhenTheProcessExits_ThenItKeepsTheHandler)
{
    EXPECT_EXIT(RunChild([](Child&) {
                    static auto* const context = new lbm::Context; // static: reachable, so no leak
                    static_cast<void>(context);
                }),
                ExitedWithCode(0), Not(HasSubstr("lbm_triage_handler")));
}

TEST_F(TriageProcess, GivenContextThatOutlivesTheStaticHandler_WhenItGoes_ThenTheHandlerGoesWithIt)
{
    EXPECT_EXIT(RunChild([](Child&) {
                    static std::optional<lbm::Context> context; // made before, so destroyed after, the handler
                    context.emplace();
                }),
                ExitedWithCode(0),
                MatchesRegex("Destroying LBM context=0x[0-9a-f]+ context_name=\n"
                             "lbm_triage_handler destructor called\n"));
}

TEST_F(TriageProcess, GivenContextThatOutlivesTheStaticHandler_WhenItGoes_ThenItsTransportContextGoesBeforeTheHandler)
{
    EXPECT_EXIT(RunChild([](Child& child) {
                    static std::optional<lbm::Context> context; // made before, so destroyed after, the handler
                    context.emplace();
                    child.transport.on_call("lbm_context_delete", [&] { child.Tell("context deleted"); });
                }),
                ExitedWithCode(0), HasSubstr("| context deleted\nlbm_triage_handler destructor called\n"));
}

TEST_F(TriageProcess, GivenReceiverOfAFailedAttempt_WhenTheProcessExits_ThenTheHandlerDestroysIt)
{
    EXPECT_EXIT(RunChild([](Child& child) {
                    child.transport.fail_nth("lbm_rcv_create", 2);
                    static const lbm::Context context;
                }),
                ExitedWithCode(0), HasSubstr(destructorLines));
}

TEST_F(TriageProcess, GivenEventQueue_WhenTheProcessExits_ThenItsThreadLogsAndIsJoined)
{
    EXPECT_EXIT(RunChild([](Child& child) {
                    static Child& kept = child;
                    std::atexit([] { kept.TellLog(); }); // runs after the handler's destruction
                    child.variables.Set("TRIAGE_HANDLER_USE_EVENT_QUEUE", "1");
                    static const lbm::Context context;
                }),
                ExitedWithCode(0),
                AllOf(HasSubstr("lbm_triage_handler destructor joined event_queue="), HasSubstr(" loop stopping\n")));
}
