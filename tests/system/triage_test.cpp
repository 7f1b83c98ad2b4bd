// What listener processes answer to operations requests.

#include <chrono>
#include <csignal>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include "qxnotify_fixture.h"

namespace qx::system_test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::SizeIs;

/// A run of `qxnotify triage` that is over.
struct Asked {
    Outcome outcome;
    std::string output;
    std::string error;
    json report() const { return json::parse(output, nullptr, false); }
};

class Triage : public QxNotify {
protected:
    static Environment place(const std::string& data_center = "ch")
    {
        return {{"CHEF_ENVIRONMENT", "dev"},
                {"DATA_CENTER", data_center},
                // whatever these are where the test runs
                {"DISABLE_LBM_TRIAGE_HANDLER", ""},
                {"LBM_TRIAGE_HANDLER_TOPIC_PREFIX", ""}};
    }
    std::unique_ptr<Process> responder(const std::string& data_center = "ch")
    {
        return listen({"42", "--format", "json"}, place(data_center));
    }
    std::unique_ptr<Process> start_triage(std::vector<std::string> arguments,
                                          const std::string& input_path = "/dev/null") const
    {
        arguments.insert(arguments.begin(), {QXNOTIFY_PROGRAM, "triage"});
        Environment all = place();
        all.insert(environment().begin(), environment().end());
        return std::make_unique<Process>(arguments, all, input_path);
    }
    Asked ask(std::vector<std::string> arguments, const std::string& input_path = "/dev/null") const
    {
        const auto process = start_triage(std::move(arguments), input_path);
        const Outcome outcome = process->wait();
        return {outcome, process->output(), process->error()};
    }
    /// Asks again until the report is as wanted: how soon a process is found is nobody's promise.
    json ask_until(const std::vector<std::string>& arguments, const std::function<bool(const json&)>& wanted) const
    {
        const auto deadline = std::chrono::steady_clock::now() + patience;
        json report = ask(arguments).report();
        while (!(report.is_object() && wanted(report)) && std::chrono::steady_clock::now() < deadline) {
            report = ask(arguments).report();
        }
        return report;
    }
    /// Waits until the responder has answered once, so that the next question finds it.
    void wait_for_responder() const
    {
        ask_until({"ping", "--expect", "1", "--wait", "5", "--format", "json"},
                  [](const json& report) { return report.at("exit_code") == 0; });
    }
    /// An inventory with an entry for each process.
    std::string inventory_of(const Process& one, const Process& two) const
    {
        return write_file("inventory", "one 127.0.0.1:" + std::to_string(one.pid()) +
                                           "\ntwo 127.0.0.1:" + std::to_string(two.pid()) + "  # the other one\n");
    }
};

bool all_answered(const json& report)
{
    return report.at("exit_code") == 0;
}

bool one_answered(const json& report)
{
    return report.at("answered") == 1;
}

TEST_F(Triage, GivenTwoListeners_WhenPinged_ThenBothAnswerAndTheirOutputStaysClean)
{
    const auto one = responder();
    const auto two = responder();
    const json report = ask_until({"ping", "--expect", "2", "--wait", "5", "--format", "json"}, all_answered);
    EXPECT_EQ(report.at("state"), "OK");
    EXPECT_EQ(report.at("topic"), "TRIAGE.ACTION.DEV.LBM");
    ASSERT_THAT(report.at("responders"), SizeIs(2));
    EXPECT_GT(report.at("latency_ms").at("min"), 0.0);
    one->send_signal(SIGTERM);
    EXPECT_EQ(one->wait(), exited(0)) << one->error();
    EXPECT_THAT(one->error(), HasSubstr("responding to TriageTestRequest request with request_id=qxnotify-"));
    EXPECT_THAT(one->output_lines(), SizeIs(1)); // the summary
}

TEST_F(Triage, GivenDataCentres_WhenOneIsPinged_ThenOnlyItsListenerAnswers)
{
    const auto here = responder("ch");
    const auto there = responder("ny");
    const json report = ask_until({"ping", "--data-center", "ny", "--wait", "1", "--format", "json"},
                                  [](const json& candidate) { return candidate.at("responders").size() == 1; });
    EXPECT_EQ(report.at("topic"), "TRIAGE.ACTION.DEV.LBM.NY");
    EXPECT_THAT(report.at("responders").at(0).at("source"), HasSubstr(":" + std::to_string(there->pid()) + ":"));
}

TEST_F(Triage, GivenKilledListener_WhenPingedByInventory_ThenItIsMissingAndTheExitCodeIsCritical)
{
    const auto one = responder();
    const auto two = responder();
    const std::string inventory = inventory_of(*one, *two);
    EXPECT_EQ(
        ask_until({"ping", "--inventory", inventory, "--wait", "5", "--format", "json"}, all_answered).at("exit_code"),
        0);
    two->send_signal(SIGKILL);
    EXPECT_EQ(two->wait(), killed_by(SIGKILL));
    const json report = ask_until({"ping", "--inventory", inventory, "--wait", "1", "--format", "json"}, one_answered);
    EXPECT_EQ(report.at("exit_code"), 2);
    EXPECT_THAT(report.at("missing"), ElementsAre("two"));
    EXPECT_EQ(report.at("responders").at(0).at("name"), "one");
}

TEST_F(Triage, GivenStoppedListener_WhenPinged_ThenItIsMissingWhileTheOtherAnswersAndBackAfterwards)
{
    const auto one = responder();
    const auto two = responder();
    const std::string inventory = inventory_of(*one, *two);
    EXPECT_EQ(
        ask_until({"ping", "--inventory", inventory, "--wait", "5", "--format", "json"}, all_answered).at("exit_code"),
        0);
    two->send_signal(SIGSTOP);
    const json without = ask_until({"ping", "--inventory", inventory, "--wait", "1", "--format", "json"}, one_answered);
    EXPECT_EQ(without.at("exit_code"), 2);
    EXPECT_THAT(without.at("missing"), ElementsAre("two"));
    two->send_signal(SIGCONT);
    const json again = ask_until({"ping", "--inventory", inventory, "--wait", "5", "--format", "json"}, all_answered);
    EXPECT_EQ(again.at("answered"), 2);
}

TEST_F(Triage, GivenNakRequest_WhenSent_ThenItIsAnsweredAndTheListenersLogSaysWhatCameOfIt)
{
    const auto one = responder();
    const json report =
        ask_until({"naks", "off", "--contexts", "price", "--yes", "--expect", "1", "--wait", "5", "--format", "json"},
                  all_answered);
    EXPECT_EQ(report.at("request"), "naks off");
    EXPECT_TRUE(one->until_error_has("responding to TriageNakKillRequest"));
    EXPECT_THAT(one->error(), HasSubstr("handling TriageNakKillRequest request=context: PRICE "));
    EXPECT_THAT(one->error(), HasSubstr("end toggling NAKs for contexts matching PRICEENVIRONMENT enable_naks=0"));
    EXPECT_THAT(one->error(), HasSubstr("Failed to disable NAKs"));
}

TEST_F(Triage, GivenNakRequestNotConfirmed_WhenThereIsNoTerminal_ThenRefused)
{
    const Asked asked = ask({"naks", "off", "--contexts", "all"});
    EXPECT_EQ(asked.outcome, exited(3));
    EXPECT_THAT(asked.error, HasSubstr("give --yes"));
    EXPECT_THAT(asked.output, IsEmpty());
}

TEST_F(Triage, GivenMalformedRequest_WhenSent_ThenNobodyAnswersAndTheListenerGoesOn)
{
    const auto one = responder();
    const std::string file = write_file("request", "nonsense");
    bool dropped = false;
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!dropped && std::chrono::steady_clock::now() < deadline) {
        const Asked asked = ask({"send", file, "--wait", "1"});
        EXPECT_EQ(asked.outcome, exited(2)) << asked.error;
        EXPECT_THAT(asked.output, IsEmpty());
        dropped = one->until_error_has("dropping request. Wire message is not valid");
    }
    EXPECT_TRUE(dropped);
    EXPECT_EQ(ask_until({"ping", "--expect", "1", "--wait", "5", "--format", "json"}, all_answered).at("exit_code"), 0);
}

TEST_F(Triage, GivenListenerWithoutItsVariables_WhenPinged_ThenNobodyIsThereAndItsLogSaysWhy)
{
    const auto one = listen({"42", "--format", "json"},
                            {{"CHEF_ENVIRONMENT", ""}, {"DATA_CENTER", ""}, {"DISABLE_LBM_TRIAGE_HANDLER", ""}});
    EXPECT_THAT(one->error(), HasSubstr("triage_handler will be disabled."));
    const Asked asked = ask({"ping", "--wait", "1"});
    EXPECT_EQ(asked.outcome, exited(2)) << asked.error;
    EXPECT_THAT(asked.output, HasSubstr("nobody was there to be asked"));
}

TEST_F(Triage, GivenSignalWhileWaiting_WhenItComes_ThenTheReportIsAboutWhatWasSeen)
{
    const auto one = responder();
    const auto ping = start_triage({"ping", "--wait", "600", "--format", "json"});
    ASSERT_TRUE(one->until_error_has("responding to TriageTestRequest"));
    ping->send_signal(SIGINT);
    const Outcome outcome = ping->wait();
    const json report = json::parse(ping->output(), nullptr, false);
    ASSERT_TRUE(report.is_object()) << ping->output();
    EXPECT_EQ(report.at("ended_by"), "SIGINT");
    EXPECT_EQ(outcome, exited(report.at("exit_code").get<int>()));
}

TEST_F(Triage, GivenBadInventory_WhenPinged_ThenFileAndLineAreNamedAndTheExitCodeIsUnknown)
{
    const std::string inventory = write_file("inven|tory", "one 127.0.0.1\ntwo\n");
    const Asked asked = ask({"ping", "--inventory", inventory, "--format", "nagios"});
    EXPECT_EQ(asked.outcome, exited(3));
    EXPECT_THAT(asked.error, HasSubstr(inventory + ":2: "));
    EXPECT_THAT(asked.output, AllOf(testing::StartsWith("TRIAGE UNKNOWN - "), Not(HasSubstr("|"))));
}

TEST_F(Triage, GivenResponder_WhenPingedForNagios_ThenOneLineWithPerformanceData)
{
    const auto one = responder();
    wait_for_responder();
    const Asked asked = ask({"ping", "--expect", "1", "--wait", "20", "--critical", "60000", "--format", "nagios"});
    EXPECT_EQ(asked.outcome, exited(0)) << asked.error;
    EXPECT_THAT(asked.output, MatchesRegex("TRIAGE OK - 1 of 1 answered, slowest [0-9.]+ ms [|] responders=1;;;0 "
                                           "slowest=[0-9.]+ms;;60000;0 lost=0;;;0\n"));
}

TEST_F(Triage, GivenResponder_WhenPingedForPrometheus_ThenEveryLineIsACommentOrASampleAndItIsUp)
{
    const auto one = responder();
    wait_for_responder();
    const std::string inventory = write_file("inventory", "price-1 127.0.0.1\n");
    const auto ping = start_triage({"ping", "--inventory", inventory, "--wait", "20", "--format", "prometheus"});
    EXPECT_EQ(ping->wait(), exited(0)) << ping->error();
    EXPECT_THAT(ping->output(), HasSubstr("qxnotify_triage_up{topic=\"TRIAGE.ACTION.DEV.LBM\",name=\"price-1\"} 1\n"));
    for (const std::string& line : ping->output_lines()) {
        EXPECT_THAT(line, MatchesRegex("# (HELP|TYPE) .*|qxnotify_triage_[a-z_]+[{].*[}] [0-9.]+"));
    }
}

TEST_F(Triage, GivenRequestOnStandardInput_WhenSent_ThenTheListenerHasIt)
{
    const auto one = responder();
    const auto send = start_triage({"send", "-", "--wait", "600"}, write_file("request", "nonsense"));
    EXPECT_TRUE(one->until_error_has("dropping request. Wire message is not valid"));
    send->send_signal(SIGTERM);
    EXPECT_EQ(send->wait(), exited(2)) << send->error();
}

TEST_F(Triage, GivenRequestBeyondTheLimit_WhenSent_ThenRefused)
{
    const std::string file = write_file("request", std::string((16U << 20U) + 1U, 'x'));
    for (const std::string& path : {file, std::string{"-"}}) {
        const Asked asked = ask({"send", path}, file);
        EXPECT_EQ(asked.outcome, exited(3)) << path;
        EXPECT_THAT(asked.error, HasSubstr("more than 16 MiB; nothing was sent")) << path;
    }
}

TEST_F(Triage, GivenOutputThatNobodyReads_WhenPinged_ThenTheVerdictIsTheExitCode)
{
    const auto one = responder();
    wait_for_responder();
    const auto ping = start_triage({"ping", "--expect", "1", "--wait", "20"});
    ping->close_output();
    EXPECT_EQ(ping->wait(), exited(0)) << ping->error();
    EXPECT_THAT(ping->error(), Not(HasSubstr("standard output")));
}

TEST_F(Triage, GivenInventoryThatNeverEnds_WhenASignalComes_ThenUnknown)
{
    const std::string inventory = write_file("unused", "") + ".pipe";
    ASSERT_EQ(::mkfifo(inventory.c_str(), 0600), 0);
    const int pipe = ::open(inventory.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    const std::string comment(4'096, '#');
    while (::write(pipe, comment.data(), comment.size()) > 0) {
    }
    const auto ping = start_triage({"ping", "--inventory", inventory});
    pollfd room{pipe, POLLOUT, 0};
    EXPECT_EQ(::poll(&room, 1, 1'000 * static_cast<int>(patience.count())), 1); // it reads, so a signal is held back
    ping->send_signal(SIGTERM);
    EXPECT_EQ(ping->wait(), exited(3));
    EXPECT_THAT(ping->error(), HasSubstr(".pipe: ended by SIGTERM"));
    ::close(pipe);
}

} // namespace
} // namespace qx::system_test
