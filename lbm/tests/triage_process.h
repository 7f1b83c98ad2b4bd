/// Tests that need a process in which nothing of triage exists yet, or one that ends: death tests in the style that
/// starts the test program anew. What they are about is written to standard error, where the test can read it.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>

#include <unistd.h>

#include "lbm/tests/triage_fixture.h"
#include "lbm/tests/triage_requests.h"

namespace lbm::test {

/// Nothing is set up here: the process's handler must not be made before the child runs.
class TriageProcess : public ::testing::Test {
protected:
    TriageProcess() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

/// The environment of a child, a transport and a log, which outlive everything in it.
struct Child {
    TriageVariables variables;
    qx::test::LbmDouble transport;
    qx::test::CapturedLog log;

    /// Lines that begin with "| ", so that they are told from what the code under test prints.
    void Tell(const std::string& text) const { std::cerr << "| " << text << std::endl; }

    void TellLog() const
    {
        for (const auto& text : log.texts()) {
            Tell(text);
        }
    }

    void TellReceivers() const
    {
        Tell("receivers " + std::to_string(transport.receivers(envTopic) + transport.receivers(envDcTopic)));
    }

    /// How many contexts a request switches, and whether it was answered.
    void TellSwitched(int context)
    {
        log.clear();
        transport.clear_calls();
        const auto delivered =
            transport.deliver(envTopic, transport.make_message({.type = LBM_MSG_REQUEST,
                                                                .payload = NakKillRequest("1", context, false),
                                                                .withResponse = true}));
        Tell(std::string(delivered ? "delivered" : "not delivered") + ", switched " +
             std::to_string(log.texts(qx::logging::QXLOG_ERROR).size()) + ", answered " +
             std::to_string(Answers(transport).size()));
    }
};

/// Runs the action with standard output going to standard error, and then leaves through exit.
template <class Action>
[[noreturn]] void RunChild(Action action)
{
    std::fflush(stdout); // what came before is of no interest
    dup2(STDERR_FILENO, STDOUT_FILENO);
    auto* const child = new Child; // never destroyed: static objects use it while the process exits
    child->variables.Set("CHEF_ENVIRONMENT", "dev");
    child->variables.Set("DATA_CENTER", "ch");
    action(*child);
    // A failed expectation is the child's own; only its exit code tells of it.
    std::exit(::testing::Test::HasFailure() ? 1 : 0); // NOLINT(concurrency-mt-unsafe): ending so is looked at
}

} // namespace lbm::test
