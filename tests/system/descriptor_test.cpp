// What becomes of qxnotify when a standard descriptor is closed from the beginning.

#include <gmock/gmock.h>

#include "qxnotify_fixture.h"

namespace qx::system_test {
namespace {

using testing::HasSubstr;

enum Closed { closed_input = 0, closed_output = 1, closed_error = 2 };

class ClosedDescriptor : public QxNotify {
protected:
    /// A run that is over. The shell does what no spawn action can say: it begins without that descriptor.
    std::unique_ptr<Process> run(Closed closed, const std::vector<std::string>& arguments) const
    {
        static const std::vector<std::string> redirections{"<&-", ">&-", "2>&-"};
        std::vector<std::string> words{"/bin/sh", "-c", R"(exec "$0" "$@" )" + redirections.at(closed),
                                       QXNOTIFY_PROGRAM};
        words.insert(words.end(), arguments.begin(), arguments.end());
        Environment all = environment();
        all.merge(Environment{{"CHEF_ENVIRONMENT", "dev"}, {"DATA_CENTER", "ch"}});
        auto process = std::make_unique<Process>(words, all);
        m_outcome = process->wait();
        return process;
    }

    mutable Outcome m_outcome;
};

const std::vector<std::string> listen_shortly{"listen", "42", "--timeout", "0.05"};
const std::vector<std::string> publish_to_nobody{"publish", "--generate", "1", "--wait-for-listener", "0.05"};
const std::vector<std::string> ping_nobody{"triage", "ping", "--wait", "0.05"};
const std::vector<std::string> switch_nobody{"triage", "naks", "off", "--contexts", "all", "--yes", "--wait", "0.05"};
const std::vector<std::string> send_to_nobody{"triage", "send", "/dev/null", "--wait", "0.05"};

TEST_F(ClosedDescriptor, GivenNoInput_WhenNothingIsReadFromIt_ThenEveryVerbDoesItsWork)
{
    run(closed_input, listen_shortly);
    EXPECT_EQ(m_outcome, exited(0));
    run(closed_input, publish_to_nobody);
    EXPECT_EQ(m_outcome, exited(7));
    run(closed_input, ping_nobody);
    EXPECT_EQ(m_outcome, exited(2));
    run(closed_input, switch_nobody);
    EXPECT_EQ(m_outcome, exited(2));
    run(closed_input, send_to_nobody);
    EXPECT_EQ(m_outcome, exited(2));
}

TEST_F(ClosedDescriptor, GivenNoInput_WhenPublishReadsIt_ThenItSaysSo)
{
    const auto publisher = run(closed_input, {"publish", "-"});
    EXPECT_EQ(m_outcome, exited(8));
    EXPECT_THAT(publisher->error(), HasSubstr("standard input: Bad file descriptor"));
}

TEST_F(ClosedDescriptor, GivenNoInput_WhenTriageSendReadsIt_ThenItSaysSo)
{
    const auto sender = run(closed_input, {"triage", "send", "-"});
    EXPECT_EQ(m_outcome, exited(3));
    EXPECT_THAT(sender->error(), HasSubstr("standard input: Bad file descriptor; nothing was sent"));
}

TEST_F(ClosedDescriptor, GivenNoInput_WhenNaksWouldAsk_ThenRefused)
{
    run(closed_input, {"triage", "naks", "off", "--contexts", "all"});
    EXPECT_EQ(m_outcome, exited(3));
}

TEST_F(ClosedDescriptor, GivenNoOutput_WhenNothingIsWrittenToIt_ThenTheVerbsDoTheirWork)
{
    run(closed_output, listen_shortly);
    EXPECT_EQ(m_outcome, exited(0));
    run(closed_output, publish_to_nobody);
    EXPECT_EQ(m_outcome, exited(7));
    run(closed_output, send_to_nobody);
    EXPECT_EQ(m_outcome, exited(2));
}

TEST_F(ClosedDescriptor, GivenNoOutput_WhenTriageReports_ThenItSaysSo)
{
    const auto ping = run(closed_output, ping_nobody);
    EXPECT_EQ(m_outcome, exited(3));
    EXPECT_THAT(ping->error(), HasSubstr("standard output: Bad file descriptor"));
    run(closed_output, switch_nobody);
    EXPECT_EQ(m_outcome, exited(3));
}

TEST_F(ClosedDescriptor, GivenNoError_WhenRun_ThenEveryVerbDoesItsWork)
{
    run(closed_error, listen_shortly);
    EXPECT_EQ(m_outcome, exited(0));
    run(closed_error, publish_to_nobody);
    EXPECT_EQ(m_outcome, exited(7));
    const auto ping = run(closed_error, ping_nobody);
    EXPECT_EQ(m_outcome, exited(2));
    EXPECT_THAT(ping->output(), HasSubstr("nobody was there to be asked"));
    run(closed_error, switch_nobody);
    EXPECT_EQ(m_outcome, exited(2));
    run(closed_error, send_to_nobody);
    EXPECT_EQ(m_outcome, exited(2));
}

} // namespace
} // namespace qx::system_test
