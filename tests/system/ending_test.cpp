// How qxnotify processes end.

#include <csignal>

#include <gmock/gmock.h>

#include "qxnotify_fixture.h"

namespace qx::system_test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

std::string last_line(const std::string& text)
{
    const auto end = text.find_last_not_of('\n');
    const auto begin = text.find_last_of('\n', end);
    return text.substr(begin == std::string::npos ? 0 : begin + 1, end - (begin == std::string::npos ? 0 : begin));
}

TEST_F(QxNotify, GivenListener_WhenSigtermComes_ThenItEndsCleanlyWithItsTotals)
{
    const auto listener = listen({"42"});
    listener->send_signal(SIGTERM);
    EXPECT_EQ(listener->wait(), exited(0)) << listener->error();
    EXPECT_THAT(listener->error(), HasSubstr("qxnotify listen: received 0 "));
    EXPECT_THAT(listener->error(), HasSubstr("ended by SIGTERM\n"));
    EXPECT_THAT(listener->output(), IsEmpty());
}

TEST_F(QxNotify, GivenListener_WhenSigintComes_ThenItEndsCleanlyWithItsTotals)
{
    const auto listener = listen({"42", "--format", "json"});
    listener->send_signal(SIGINT);
    EXPECT_EQ(listener->wait(), exited(0)) << listener->error();
    EXPECT_EQ(summary_of(*listener).at("ended_by"), "SIGINT");
}

TEST_F(QxNotify, GivenTimeout_WhenNoCountWasAsked_ThenDone)
{
    const auto listener = listen({"42", "--timeout", "0.05", "--format", "json"});
    EXPECT_EQ(listener->wait(), exited(0)) << listener->error();
    EXPECT_EQ(summary_of(*listener).at("ended_by"), "timeout");
}

TEST_F(QxNotify, GivenTimeout_WhenTheCountIsNotReached_ThenTooFew)
{
    EXPECT_EQ(listen({"42", "--timeout", "0.05", "--count", "1"})->wait(), exited(4));
}

TEST_F(QxNotify, GivenListenerWithCount_WhenSigtermComesBefore_ThenTooFew)
{
    const auto listener = listen({"42", "--count", "1"});
    listener->send_signal(SIGTERM);
    EXPECT_EQ(listener->wait(), exited(4));
}

TEST_F(QxNotify, GivenRecordsThatKeepComing_WhenTheCountIsReached_ThenTheListenerEndsCleanly)
{
    const auto publisher = start_publish({"--generate", "1000000", "--size", "large"});
    for (int i = 0; i < 10; ++i) {
        const auto listener = listen({"42", "--format", "json", "--count", "20"}, {{"QX_LOG_LEVEL", "QXLOG_WARNING"}});
        EXPECT_EQ(listener->wait(), exited(0)) << listener->error();
        EXPECT_THAT(records_of(*listener), SizeIs(20));
    }
    publisher->send_signal(SIGTERM);
    EXPECT_EQ(publisher->wait(), exited(9));
}

TEST_F(QxNotify, GivenOutputThatNobodyReads_WhenARecordComes_ThenTheListenerIsDone)
{
    const auto listener = listen({"42"});
    listener->close_output();
    publish_lines({product_line(42, 1)});
    EXPECT_EQ(listener->wait(), exited(0)) << listener->error();
    EXPECT_THAT(listener->error(), HasSubstr("ended by closed output"));
}

TEST_F(QxNotify, GivenPayloadThatIsFatal_WhenPublishedWithLeave_ThenTheListenerEndsAndItsLastLineNamesTheMessage)
{
    const auto listener = listen({"42", "--format", "json"});
    const json totals =
        publish_lines({product_line(42, 1), R"({"market":42,"raw":"{\"et\":\"Update\"}"})"}, {"--allow-fatal"});
    EXPECT_EQ(totals.at("sent_by_kind").at("fatal"), 1);
    EXPECT_EQ(listener->wait(), killed_by(SIGABRT));
    EXPECT_THAT(records_of(*listener), SizeIs(1));
    const std::string line = last_line(listener->error());
    EXPECT_THAT(line, HasSubstr("qxnotify listen: ended by the message topic=qxnotify.public.pds.native.42.other "));
    EXPECT_THAT(line, HasSubstr(" sequence_number=0 "));
    EXPECT_THAT(line, HasSubstr(R"( payload="{"et":"Update"}": )"));
    EXPECT_THAT(line, HasSubstr("(dt)"));
}

TEST_F(QxNotify, GivenPayloadThatIsNotJson_WhenPublishedWithLeave_ThenTheLogSaysWhyBeforeTheEnd)
{
    const auto listener = listen({"42"});
    publish_lines({R"({"market":42,"raw":"oops\n\u001b[31m"})"}, {"--allow-fatal"});
    EXPECT_EQ(listener->wait(), killed_by(SIGABRT));
    EXPECT_THAT(listener->error(), HasSubstr("QXNOTIFY | Bad JSON format outer data. reason="));
    EXPECT_THAT(last_line(listener->error()), HasSubstr(R"(payload="oops\n\x1b[31m")"));
}

TEST_F(QxNotify, GivenPayloadThatIsFatal_WhenPublishedWithoutLeave_ThenItIsRefusedAndTheListenerLives)
{
    const auto listener = listen({"42", "--format", "json", "--count", "1"});
    const json totals = publish_lines({R"({"market":42,"raw":"oops"})", product_line(42, 1)}, {}, 5);
    EXPECT_EQ(totals.at("refused"), 1);
    EXPECT_EQ(totals.at("sent"), 1);
    EXPECT_EQ(listener->wait(), exited(0)) << listener->error();
}

TEST_F(QxNotify, GivenBadLineAndStrict_WhenPublished_ThenItStopsThereWithItsOwnCode)
{
    const auto listener = listen({"42", "--format", "json"});
    const json totals = publish_lines({product_line(42, 1), "oops", product_line(42, 2)}, {"--strict"}, 6);
    EXPECT_EQ(totals.at("sent"), 1);
    EXPECT_EQ(totals.at("ended_by"), "refused line");
}

TEST_F(QxNotify, GivenNobodyListens_WhenPublished_ThenThePublisherSaysSo)
{
    Process publisher({QXNOTIFY_PROGRAM, "publish", "--generate", "1", "--wait-for-listener", "0.1"}, environment());
    EXPECT_EQ(publisher.wait(), exited(7));
    EXPECT_THAT(publisher.error(), HasSubstr("no listener for qxnotify.public.pds.native.42."));
}

TEST_F(QxNotify, GivenMissingConfiguration_WhenListening_ThenTheErrorNamesTheFile)
{
    Process listener({QXNOTIFY_PROGRAM, "listen", "42"}, {{"LBM_XML_CONFIG_FILENAME", "/nowhere/transport.xml"}});
    EXPECT_EQ(listener.wait(), exited(3));
    EXPECT_THAT(listener.error(), HasSubstr("/nowhere/transport.xml"));
    EXPECT_THAT(listener.error(), HasSubstr("check LBM_XML_CONFIG_FILENAME"));
}

TEST_F(QxNotify, GivenMissingConfiguration_WhenPublishing_ThenTheErrorNamesTheFile)
{
    Process publisher({QXNOTIFY_PROGRAM, "publish", "--generate", "1"},
                      {{"LBM_XML_CONFIG_FILENAME", "/nowhere/transport.xml"}});
    EXPECT_EQ(publisher.wait(), exited(3));
    EXPECT_THAT(publisher.error(), HasSubstr("/nowhere/transport.xml"));
}

TEST_F(QxNotify, GivenMissingInput_WhenPublishing_ThenTheErrorNamesIt)
{
    Process publisher({QXNOTIFY_PROGRAM, "publish", "/nowhere/records.jsonl"}, environment());
    EXPECT_EQ(publisher.wait(), exited(8));
    EXPECT_THAT(publisher.error(), HasSubstr("/nowhere/records.jsonl: No such file or directory"));
}

TEST_F(QxNotify, GivenDryRun_WhenPublishing_ThenTheLinesAreOnStandardOutputAndNoListenerIsNeeded)
{
    Process publisher({QXNOTIFY_PROGRAM, "publish", "--generate", "5", "--dry-run"}, environment());
    EXPECT_EQ(publisher.wait(), exited(0));
    EXPECT_THAT(publisher.output_lines(), SizeIs(5));
}

} // namespace
} // namespace qx::system_test
