// The verbs from their options to standard output and exit code, on the double.
#include "qxnotify/triage_commands.h"

#include <array>
#include <csignal>
#include <cstdlib>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include "pipe.h"
#include "qxnotify/output.h"
#include "triage_network.h"

namespace qx::tool {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

/// While it lives, standard output is a pipe; the verbs take it over for good.
class CapturedOutput {
public:
    CapturedOutput()
        : m_original(::dup(STDOUT_FILENO))
    {
        ::dup2(m_pipe.writer(), STDOUT_FILENO);
        m_pipe.close_writer();
    }
    ~CapturedOutput() { ::dup2(m_original.get(), STDOUT_FILENO); }
    CapturedOutput(const CapturedOutput&) = delete;
    CapturedOutput& operator=(const CapturedOutput&) = delete;

    /// What came, when the verb is over; far less than a pipe holds.
    std::string text() const
    {
        std::array<char, 60'000> buffer{};
        const ssize_t count = ::read(m_pipe.reader(), buffer.data(), buffer.size());
        return {buffer.data(), static_cast<std::size_t>(count > 0 ? count : 0)};
    }

private:
    Pipe m_pipe;
    Descriptor m_original;
};

/// While it lives, standard input is no terminal, wherever the test runs.
class NoTerminal {
public:
    NoTerminal()
        : m_original(::dup(STDIN_FILENO))
    {
        const Descriptor nothing(::open("/dev/null", O_RDONLY));
        ::dup2(nothing.get(), STDIN_FILENO);
    }
    ~NoTerminal() { ::dup2(m_original.get(), STDIN_FILENO); }
    NoTerminal(const NoTerminal&) = delete;
    NoTerminal& operator=(const NoTerminal&) = delete;

private:
    Descriptor m_original;
};

/// Options with which a verb on the double waits for very long, unless one responder answers.
template <class Options>
Options impatient()
{
    Options options;
    options.target.prefix = "";
    options.target.environment = "dev";
    options.collecting.wait_seconds = 1'000;
    options.collecting.settle_seconds = 0;
    options.collecting.expected = 1;
    options.collecting.progress = false;
    return options;
}

TEST(TriagePing, GivenResponder_WhenRun_ThenOkAndTheReportIsAllThereIsOnStandardOutput)
{
    TriageNetwork network;
    network.on_request = [&](int n) { network.answer(n, "somebody"); };
    const CapturedOutput output;
    EXPECT_EQ(run_triage_ping(impatient<TriagePingOptions>()), TriageExit::ok);
    EXPECT_THAT(output.text(), AllOf(StartsWith("RESPONDER"), HasSubstr("somebody"),
                                     HasSubstr("OK: ping, topic TRIAGE.ACTION.DEV.LBM, 1 round\n")));
    EXPECT_THAT(network.lbm.leaks(), IsEmpty());
}

TEST(TriagePing, GivenNobody_WhenRun_ThenCritical)
{
    TriageNetwork network;
    auto options = impatient<TriagePingOptions>();
    options.collecting.wait_seconds = 0.001;
    options.collecting.format = TriageFormat::nagios;
    const CapturedOutput output;
    EXPECT_EQ(run_triage_ping(options), TriageExit::critical);
    EXPECT_THAT(output.text(), StartsWith("TRIAGE CRITICAL - 0 of 1 answered; 1 missing | "));
}

TEST(TriagePing, GivenSignalBeforeTheFirstRequest_WhenRun_ThenUnknownAndNothingIsSent)
{
    TriageNetwork network;
    network.lbm.on_call("lbm_src_create", [] { ::kill(::getpid(), SIGTERM); });
    auto options = impatient<TriagePingOptions>();
    options.collecting.format = TriageFormat::nagios;
    const CapturedOutput output;
    EXPECT_EQ(run_triage_ping(options), TriageExit::unknown);
    EXPECT_THAT(output.text(), StartsWith("TRIAGE UNKNOWN - stopped before anything was sent | "));
    EXPECT_THAT(network.lbm.calls("lbm_send_request"), IsEmpty());
}

TEST(TriagePing, GivenNoEnvironment_WhenRun_ThenUnknownAndNoTransportIsTouched)
{
    ::unsetenv("CHEF_ENVIRONMENT");
    TriageNetwork network;
    auto options = impatient<TriagePingOptions>();
    options.target.environment.reset();
    const CapturedOutput output;
    EXPECT_EQ(run_triage_ping(options), TriageExit::unknown);
    EXPECT_THAT(output.text(), IsEmpty());
    EXPECT_THAT(network.lbm.calls(), IsEmpty());
}

TEST(TriagePing, GivenBadSetUpAndNagios_WhenRun_ThenStandardOutputSaysUnknown)
{
    TriageNetwork network;
    auto options = impatient<TriagePingOptions>();
    options.collecting.inventory_path = "/nowhere/price.txt";
    options.collecting.format = TriageFormat::nagios;
    const CapturedOutput output;
    EXPECT_EQ(run_triage_ping(options), TriageExit::unknown);
    EXPECT_EQ(output.text(), "TRIAGE UNKNOWN - /nowhere/price.txt: No such file or directory; check --inventory\n");
}

TEST(TriagePing, GivenTransportThatRefuses_WhenRun_ThenUnknown)
{
    TriageNetwork network;
    network.lbm.fail_next("lbm_context_create", 5, "no such interface");
    const CapturedOutput output;
    EXPECT_EQ(run_triage_ping(impatient<TriagePingOptions>()), TriageExit::unknown);
    EXPECT_THAT(network.lbm.leaks(), IsEmpty());
}

TEST(TriagePing, GivenContextName_WhenRun_ThenItsOptionsAreTaken)
{
    TriageNetwork network;
    network.on_request = [&](int n) { network.answer(n, "somebody"); };
    auto options = impatient<TriagePingOptions>();
    options.target.context_name = "Operations";
    const CapturedOutput output;
    EXPECT_EQ(run_triage_ping(options), TriageExit::ok);
    EXPECT_THAT(network.lbm.calls("lbm_context_attr_create_from_xml('Operations')"), testing::SizeIs(1));
}

TEST(TriageNaks, GivenDryRun_WhenRun_ThenTopicAndRequestAreShownAndNoTransportIsTouched)
{
    TriageNetwork network;
    auto options = impatient<TriageNaksOptions>();
    options.contexts = messaging::triage::PRICE;
    options.dry_run = true;
    const CapturedOutput output;
    EXPECT_EQ(run_triage_naks(options), TriageExit::ok);
    EXPECT_THAT(output.text(), AllOf(StartsWith("topic: TRIAGE.ACTION.DEV.LBM\nrequest: "),
                                     HasSubstr(" context: PRICE enable: false\n")));
    EXPECT_THAT(network.lbm.calls(), IsEmpty());
}

TEST(TriageNaks, GivenDryRunForPrograms_WhenRun_ThenOneObject)
{
    TriageNetwork network;
    auto options = impatient<TriageNaksOptions>();
    options.dry_run = true;
    options.collecting.format = TriageFormat::json;
    const CapturedOutput output;
    EXPECT_EQ(run_triage_naks(options), TriageExit::ok);
    const auto object = nlohmann::json::parse(output.text());
    EXPECT_EQ(object.at("topic"), "TRIAGE.ACTION.DEV.LBM");
    EXPECT_EQ(object.at("request"), "naks off");
    EXPECT_EQ(object.at("dry_run"), true);
    EXPECT_THAT(object.at("message").get<std::string>(), HasSubstr(" context: ALL enable: false"));
}

TEST(TriageNaks, GivenNoTerminal_WhenNotConfirmed_ThenRefusedAndNothingIsSent)
{
    const NoTerminal input;
    TriageNetwork network;
    const CapturedOutput output;
    EXPECT_EQ(run_triage_naks(impatient<TriageNaksOptions>()), TriageExit::unknown);
    EXPECT_THAT(network.lbm.calls(), IsEmpty());
}

TEST(TriageNaks, GivenConfirmation_WhenRun_ThenTheReportSaysAnsweredAndNeverSwitched)
{
    TriageNetwork network;
    network.on_request = [&](int n) { network.answer(n, "somebody"); };
    auto options = impatient<TriageNaksOptions>();
    options.enable = true;
    options.confirmed = true;
    const CapturedOutput output;
    EXPECT_EQ(run_triage_naks(options), TriageExit::ok);
    EXPECT_THAT(output.text(), AllOf(HasSubstr("1 of 1 answered\nOK: naks on, topic "), Not(HasSubstr("switched"))));
}

TEST(TriageSend, GivenFileAndAnswers_WhenRun_ThenTheBytesGoAsTheyAreAndAnswersAreShown)
{
    const std::string path = testing::TempDir() + "triage_send_" + std::to_string(::getpid());
    const Descriptor file(::open(path.c_str(), O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC, 0600));
    ASSERT_EQ(write_all(file.get(), std::string_view("\0\xff x", 4)), Written::yes);
    TriageNetwork network;
    std::string sent;
    network.on_request = [&](int n) {
        sent = network.lbm.request(n);
        network.lbm.answer(n, "\x01\xab", "somebody");
    };
    auto options = impatient<TriageSendOptions>();
    options.path = path;
    const CapturedOutput output;
    EXPECT_EQ(run_triage_send(options), TriageExit::ok);
    EXPECT_EQ(sent, std::string("\0\xff x", 4));
    EXPECT_EQ(output.text(), "somebody: 01ab\n");
    ::unlink(path.c_str());
}

/// A file of that size, all zeros, gone with this object.
class SparseFile {
public:
    explicit SparseFile(off_t bytes)
        : m_path(testing::TempDir() + "triage_sparse_" + std::to_string(::getpid()))
    {
        const Descriptor file(::open(m_path.c_str(), O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC, 0600));
        m_made = ::ftruncate(file.get(), bytes) == 0;
    }
    ~SparseFile() { ::unlink(m_path.c_str()); }
    SparseFile(const SparseFile&) = delete;
    SparseFile& operator=(const SparseFile&) = delete;
    bool made() const { return m_made; }
    const std::string& path() const { return m_path; }

private:
    std::string m_path;
    bool m_made = false;
};

constexpr off_t request_bytes_max = 16L << 20U;

TEST(TriageSend, GivenLargestRequest_WhenRun_ThenItIsSent)
{
    const SparseFile file(request_bytes_max);
    ASSERT_TRUE(file.made());
    TriageNetwork network;
    std::size_t sent = 0;
    network.on_request = [&](int n) {
        sent = network.lbm.request(n).size();
        network.lbm.answer(n, "\x01", "somebody");
    };
    auto options = impatient<TriageSendOptions>();
    options.path = file.path();
    const CapturedOutput output;
    EXPECT_EQ(run_triage_send(options), TriageExit::ok);
    EXPECT_EQ(sent, static_cast<std::size_t>(request_bytes_max));
}

TEST(TriageSend, GivenLargerFile_WhenRun_ThenUnknownAndNoTransportIsTouched)
{
    const SparseFile file(request_bytes_max + 1);
    ASSERT_TRUE(file.made());
    TriageNetwork network;
    auto options = impatient<TriageSendOptions>();
    options.path = file.path();
    const CapturedOutput output;
    EXPECT_EQ(run_triage_send(options), TriageExit::unknown);
    EXPECT_THAT(network.lbm.calls(), IsEmpty());
}

TEST(TriageSend, GivenNoAnswer_WhenRun_ThenCritical)
{
    TriageNetwork network;
    auto options = impatient<TriageSendOptions>();
    options.collecting.wait_seconds = 0.001;
    options.path = "/dev/null";
    const CapturedOutput output;
    EXPECT_EQ(run_triage_send(options), TriageExit::critical);
    EXPECT_THAT(output.text(), IsEmpty());
}

TEST(TriageSend, GivenSignalBeforeTheRequest_WhenRun_ThenUnknownAndNothingIsSent)
{
    TriageNetwork network;
    network.lbm.on_call("lbm_src_create", [] { ::kill(::getpid(), SIGTERM); });
    auto options = impatient<TriageSendOptions>();
    options.path = "/dev/null";
    const CapturedOutput output;
    EXPECT_EQ(run_triage_send(options), TriageExit::unknown);
    EXPECT_THAT(network.lbm.calls("lbm_send_request"), IsEmpty());
}

TEST(TriageSend, GivenNoFile_WhenRun_ThenUnknownAndNoTransportIsTouched)
{
    TriageNetwork network;
    auto options = impatient<TriageSendOptions>();
    options.path = "/nowhere/request.bin";
    const CapturedOutput output;
    EXPECT_EQ(run_triage_send(options), TriageExit::unknown);
    EXPECT_THAT(network.lbm.calls(), IsEmpty());
}

} // namespace
} // namespace qx::tool
