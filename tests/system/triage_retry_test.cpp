// Listener processes whose answers are not taken, and those that handle requests on a thread of their own.

#include <chrono>
#include <csignal>
#include <filesystem>
#include <optional>

#include <gmock/gmock.h>

#include "qxnotify_fixture.h"

namespace qx::system_test {
namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

/// One answer may be on its way to a requester, and nobody counts as gone.
std::string narrow_configuration(const std::string& tag)
{
    return R"(<um-configuration version="1.0"><applications><application name="system"><contexts>)"
           R"(<context name="PriceEnvironmentContext"><options type="context"><option name="domain_tag" default-value=")" +
           tag +
           R"("/><option name="response_window_messages" default-value="1"/>)"
           R"(<option name="lease_ms" default-value="600000"/></options></context></contexts></application></applications>)"
           R"(</um-configuration>)";
}

/// As log lines and reports show a process.
std::string source_of(const Process& process)
{
    return ":" + std::to_string(process.pid()) + ":";
}

/// How many requests of that source a log has, from there on, whose answer was taken at once: no line about the sending
/// stands between its announcement and the request's end.
std::size_t count_answered_at_once(const std::string& log, const std::string& source, std::size_t from)
{
    const std::string finished = "Finished with LBM request";
    std::size_t count = 0;
    for (auto end = log.find(finished, from); end != std::string::npos; end = log.find(finished, end + 1)) {
        const auto begin = log.rfind("responding to TriageTestRequest", end);
        const bool its = log.substr(end, log.find('\n', end) - end).find(source) != std::string::npos;
        if (its && begin != std::string::npos &&
            log.substr(begin, end - begin).find(" requestId=") == std::string::npos) {
            ++count;
        }
    }
    return count;
}

class TriageRetry : public QxNotify {
protected:
    TriageRetry()
    {
        const std::filesystem::path ordinary = environment().at("LBM_XML_CONFIG_FILENAME");
        const std::string tag = ordinary.parent_path().filename();
        m_variables = {{"LBM_XML_CONFIG_FILENAME", write_file("narrow.xml", narrow_configuration(tag))},
                       {"CHEF_ENVIRONMENT", "dev"},
                       {"DATA_CENTER", "ch"},
                       // whatever these are where the test runs
                       {"DISABLE_LBM_TRIAGE_HANDLER", ""},
                       {"LBM_TRIAGE_HANDLER_TOPIC_PREFIX", ""},
                       {"TRIAGE_HANDLER_USE_EVENT_QUEUE", ""},
                       {"TRIAGE_HANDLER_MAX_RETRIES", ""},
                       {"TRIAGE_HANDLER_TIME_BETWEEN_RETRIES_MS", ""}};
    }

    std::unique_ptr<Process> responder(Environment changes = {})
    {
        changes.insert(m_variables.begin(), m_variables.end());
        return listen({"42", "--format", "json"}, changes);
    }

    std::unique_ptr<Process> start_triage(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.begin(), {QXNOTIFY_PROGRAM, "triage"});
        Environment all = m_variables;
        all.insert(environment().begin(), environment().end());
        return std::make_unique<Process>(arguments, all);
    }

    /// Pings until an answer came and the responder's log shows it: how soon a process is found is nobody's promise.
    bool ping(Process& responder) const { return succeeds(responder, {"ping", "--expect", "1", "--wait", "5"}); }
    bool succeeds(Process& responder, const std::vector<std::string>& arguments) const
    {
        const auto deadline = std::chrono::steady_clock::now() + patience;
        while (std::chrono::steady_clock::now() < deadline) {
            const auto asker = start_triage(arguments);
            const std::string source = source_of(*asker);
            if (asker->wait() == exited(0)) {
                return responder.until_error_has(source);
            }
        }
        return false;
    }

    /// A requester that asks on and on, and that the responder has heard.
    std::unique_ptr<Process> persistent_requester(Process& responder) const
    {
        const auto deadline = std::chrono::steady_clock::now() + patience;
        std::unique_ptr<Process> requester;
        do {
            requester = start_triage({"ping", "--expect", "1", "--count", "100000", "--interval", "0.02", "--wait",
                                      "0.5", "--settle", "0", "--format", "json"});
            EXPECT_TRUE(ping(responder)); // takes longer than the requester's search, which may have failed
        } while (responder.error().find(source_of(*requester)) == std::string::npos &&
                 std::chrono::steady_clock::now() < deadline);
        return requester;
    }

    /// The requester stands still while the responder has more to answer it than one answer. For that, requests gather
    /// while the responder stands still, as long as another one needs to give up. True when its log shows the text.
    bool stop_with_answers_due(Process& requester, Process& responder, const std::string& text) const
    {
        const auto deadline = std::chrono::steady_clock::now() + patience;
        bool found = false;
        while (!found && std::chrono::steady_clock::now() < deadline) {
            requester.send_signal(SIGCONT);
            responder.send_signal(SIGSTOP);
            EXPECT_EQ(start_triage({"ping", "--wait", "2"})->wait(), exited(2));
            requester.send_signal(SIGSTOP);
            responder.send_signal(SIGCONT);
            EXPECT_TRUE(ping(responder));
            found = responder.error().find(text) != std::string::npos;
        }
        return found;
    }

private:
    Environment m_variables;
};

TEST_F(TriageRetry, GivenStoppedRequester_WhenItsAnswersDoNotFit_ThenRetriedAsConfiguredAndGivenUpWithAnError)
{
    const auto one = responder({{"TRIAGE_HANDLER_MAX_RETRIES", "3"}, {"TRIAGE_HANDLER_TIME_BETWEEN_RETRIES_MS", "5"}});
    const auto requester = persistent_requester(*one);
    ASSERT_TRUE(stop_with_answers_due(*requester, *one, "Failed responding: requestId=")) << one->error();
    const std::string blocked = "LBMEWouldBlockException responding to requestId=qxnotify-[^ ]* retrySleepMs=5 ";
    const std::string where =
        " maxRetries=3 source=[^ ]*" + source_of(*requester) + "[^ ]* topicName=TRIAGE.ACTION.DEV.LBM error=2[^\n]*\n";
    EXPECT_THAT(one->error(),
                ContainsRegex(blocked + "retriesRemaining=2" + where + "[^\n]*" + blocked + "retriesRemaining=1" +
                              where + "[^\n]*Failed responding: requestId=qxnotify-[^ ]* retrySleepMs=5 " +
                              "retriesRemaining=0" + where));
}

TEST_F(TriageRetry, GivenRequesterThatWasGivenUp_WhenItGoesOn_ThenItIsAnsweredAgain)
{
    const auto one = responder({{"TRIAGE_HANDLER_MAX_RETRIES", "3"}, {"TRIAGE_HANDLER_TIME_BETWEEN_RETRIES_MS", "5"}});
    const auto requester = persistent_requester(*one);
    ASSERT_TRUE(stop_with_answers_due(*requester, *one, "Failed responding: requestId=")) << one->error();
    const std::size_t before = one->error().size();
    requester->send_signal(SIGCONT);
    // The first of them may answer requests that it no longer waits for, and the last may be on its way.
    EXPECT_TRUE(one->until([&] { return count_answered_at_once(one->error(), source_of(*requester), before) >= 20; }));
    requester->send_signal(SIGINT);
    EXPECT_NE(requester->wait(), exited(3));
    const json report = json::parse(requester->output(), nullptr, false);
    ASSERT_TRUE(report.is_object()) << requester->output();
    EXPECT_THAT(report.at("responders"), testing::SizeIs(1));
}

TEST_F(TriageRetry, GivenStoppedRequester_WhenAnotherPings_ThenItIsAnsweredMeanwhile)
{
    const auto one = responder();
    const auto requester = persistent_requester(*one);
    ASSERT_TRUE(stop_with_answers_due(*requester, *one, "retriesRemaining=-1 maxRetries=0 source=")) << one->error();
    EXPECT_TRUE(ping(*one)); // the requester still stands still
    EXPECT_THAT(one->error(), Not(HasSubstr("Failed responding")));
}

TEST_F(TriageRetry, GivenStoppedResponder_WhenTheRequesterEnds_ThenItDoesNotWaitForIt)
{
    const auto one = responder();
    const auto requester = persistent_requester(*one);
    one->send_signal(SIGSTOP);
    EXPECT_EQ(start_triage({"ping", "--wait", "2"})->wait(), exited(2)); // the requester asks on meanwhile
    requester->send_signal(SIGINT);
    EXPECT_EQ(requester->wait().signal, 0) << "killed, as it did not end";
    EXPECT_THAT(requester->error(), Not(HasSubstr("had not acknowledged")));
    one->send_signal(SIGCONT);
}

TEST_F(TriageRetry, GivenEventQueue_WhenAskedAndStopped_ThenItAnswersAndEndsCleanly)
{
    const auto one = responder({{"TRIAGE_HANDLER_USE_EVENT_QUEUE", "1"}});
    EXPECT_THAT(one->error(), HasSubstr("started triage_handler event_queue=0x"));
    EXPECT_TRUE(ping(*one));
    EXPECT_TRUE(succeeds(*one, {"naks", "off", "--contexts", "all", "--yes", "--expect", "1", "--wait", "5"}));
    one->send_signal(SIGTERM);
    EXPECT_EQ(one->wait(), exited(0)) << one->error();
    const std::string thread = " thread_id=[0-9]+";
    EXPECT_THAT(one->error(), AllOf(HasSubstr(" loop starting"),
                                    HasSubstr("end toggling NAKs for contexts matching "
                                              "ALL enable_naks=0"),
                                    HasSubstr(" loop stopping")));
    EXPECT_THAT(one->error() + one->output(),
                AllOf(ContainsRegex("destructor joining event_queue=0x[0-9a-f]+" + thread + "\n"),
                      ContainsRegex("destructor joined event_queue=0x[0-9a-f]+\n")));
    EXPECT_THAT(one->output_lines(), testing::SizeIs(1)); // the summary
}

} // namespace
} // namespace qx::system_test
