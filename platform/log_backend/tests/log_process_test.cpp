/// The back end as a program meets it: through its environment and its standard streams.
#include <set>
#include <string>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "platform/log_backend/tests/child.h"

namespace {

using qx::test::runLogChild;
using testing::AllOf;
using testing::Contains;
using testing::ContainsRegex;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;
using testing::StartsWith;

TEST(LogProcess, GivenNoEnvironment_WhenLogging_ThenLinesFromInfoSearchUpGoToStandardError)
{
    const auto result = runLogChild("levels");
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_THAT(result.err, ElementsAre(HasSubstr(" INFO_SEARCH "), HasSubstr(" WARNING "), HasSubstr(" ERROR "),
                                        HasSubstr(" ALERT "), HasSubstr(" CRITICAL "), HasSubstr(" WALL ")));
}

TEST(LogProcess, GivenAPlainStatement_WhenLogging_ThenTheLineHasEveryField)
{
    const auto result = runLogChild("levels", {"QX_LOG_LEVEL=WALL"});
    EXPECT_THAT(result.err, ElementsAre(MatchesRegex("....-..-..T..:..:..\\.......Z [0-9]+ WALL - "
                                                     "platform/log_backend/tests/log_child.cpp:[0-9]+ wall")));
}

TEST(LogProcess, GivenALowerLevel_WhenLogging_ThenItsLinesAreWrittenToo)
{
    EXPECT_THAT(runLogChild("levels", {"QX_LOG_LEVEL=qxlog_debug"}).err, SizeIs(9));
}

TEST(LogProcess, GivenALevelByNumber_WhenLogging_ThenOnlyLinesAtOrAboveIt)
{
    EXPECT_THAT(runLogChild("levels", {"QX_LOG_LEVEL=40"}).err, ElementsAre(EndsWith("critical"), EndsWith("wall")));
}

TEST(LogProcess, GivenABadLevelAndNoStatement_WhenRun_ThenItIsReportedOnce)
{
    EXPECT_THAT(runLogChild("nothing", {"QX_LOG_LEVEL=LOUD\nER"}).err,
                ElementsAre(StartsWith("qx log: QX_LOG_LEVEL='LOUD\\nER' is not accepted")));
}

TEST(LogProcess, GivenABadFormat_WhenLogging_ThenItIsReportedOnceAndTextIsWritten)
{
    const auto result = runLogChild("levels", {"QX_LOG_FORMAT=xml"});
    EXPECT_THAT(result.err, SizeIs(7));
    EXPECT_THAT(result.err[0], AllOf(HasSubstr("QX_LOG_FORMAT='xml'"), HasSubstr("text or json")));
    EXPECT_THAT(result.err[1], EndsWith("info search"));
}

TEST(LogProcess, GivenBadNumbers_WhenLogging_ThenEachIsReportedOnce)
{
    const auto result = runLogChild(
        "levels", {"QX_LOG_FILE_SIZE_MB=0", "QX_LOG_FILE_COUNT=many", "QX_LOG_ASYNC=-1", "QX_LOG_LEVEL=WALL"});
    EXPECT_THAT(result.err, ElementsAre(HasSubstr("QX_LOG_FILE_SIZE_MB='0'"), HasSubstr("QX_LOG_FILE_COUNT='many'"),
                                        HasSubstr("QX_LOG_ASYNC='-1'"), EndsWith("wall")));
}

TEST(LogProcess, GivenTextThatForgesALine_WhenLogging_ThenItStaysOneLine)
{
    const auto result = runLogChild("forge");
    ASSERT_THAT(result.err, SizeIs(1));
    EXPECT_THAT(result.err[0], EndsWith("id=1\\n2026-01-01T00:00:00.000000Z 1 ERROR - a.cpp:1 "
                                        "forged\\r\\x1b[2J\\x7f\\\\n\xC3\xA9\xFF"));
}

TEST(LogProcess, GivenJson_WhenLogging_ThenEachLineIsAnObjectWithTheExactText)
{
    const auto result = runLogChild("forge", {"QX_LOG_FORMAT=json"});
    ASSERT_THAT(result.err, SizeIs(1));
    const auto object = nlohmann::json::parse(result.err[0]);
    EXPECT_EQ(object["level"], "ERROR");
    EXPECT_EQ(object["text"], "id=1\n2026-01-01T00:00:00.000000Z 1 ERROR - a.cpp:1 forged\r\x1b[2J\x7f\\n\xC3\xA9"
                              "\xEF\xBF\xBD");
}

TEST(LogProcess, GivenASourceFileAndLine_WhenLogging_ThenTheyAreShownAsGiven)
{
    EXPECT_THAT(runLogChild("chain").err, ElementsAre(EndsWith(" ERROR outer/inner some/file.cpp:7 text")));
}

TEST(LogProcess, GivenLocalTime_WhenLogging_ThenTheOffsetIsShown)
{
    EXPECT_THAT(runLogChild("chain", {"QX_LOG_TIME=local", "TZ=ABC-02:00"}).err, ElementsAre(HasSubstr("+02:00 ")));
}

TEST(LogProcess, GivenHandlerNames_WhenLogging_ThenEachLineGoesToItsSink)
{
    const auto result = runLogChild("handlers");
    EXPECT_THAT(result.out, ElementsAre(EndsWith("to:stdout")));
    EXPECT_THAT(result.err, Contains(EndsWith("to:")));
    EXPECT_THAT(result.err, Contains(EndsWith("to:stderr")));
}

TEST(LogProcess, GivenAnUnknownHandlerName_WhenLoggingTwice_ThenReportedOnceAndWrittenToTheDefaultSink)
{
    const auto result = runLogChild("handlers");
    EXPECT_THAT(result.err, Contains(StartsWith("qx log: no handler is named 'nowhere'")).Times(1));
    EXPECT_THAT(result.err, Contains(EndsWith("to:nowhere")).Times(2));
    EXPECT_THAT(result.err, Contains(StartsWith("qx log: no handler is named 'file'")).Times(1));
}

TEST(LogProcess, GivenManyThreads_WhenLogging_ThenLinesNeverMix)
{
    const auto result = runLogChild("threads");
    EXPECT_THAT(result.err, SizeIs(800));
    EXPECT_THAT(result.err, Each(ContainsRegex(" (a{300}|b{300}|c{300}|d{300}|e{300}|f{300}|g{300}|h{300})$")));
}

TEST(LogProcess, GivenManyThreads_WhenLogging_ThenEachLineNamesItsThread)
{
    std::set<std::string> threads;
    for (const auto& line : runLogChild("threads").err) {
        threads.insert(line.substr(28, line.find(' ', 28) - 28));
    }
    EXPECT_THAT(threads, SizeIs(8));
}

TEST(LogProcess, GivenAStaticObject_WhenItLogsBeforeAndAfterMain_ThenBothLinesAreWritten)
{
    EXPECT_THAT(runLogChild("chain", {"LOG_CHILD_STATIC=1"}).err,
                ElementsAre(EndsWith("made before main"), EndsWith(" text"), EndsWith("destroyed after main")));
}

TEST(LogProcess, GivenAStaticObjectThatAloneLogs_WhenItLogs_ThenBothLinesAreWritten)
{
    EXPECT_THAT(runLogChild("nothing", {"LOG_CHILD_STATIC=1"}).err,
                ElementsAre(EndsWith("made before main"), EndsWith("destroyed after main")));
}

TEST(LogProcess, GivenAStaticObjectBelowTheMinimumLevel_WhenItLogs_ThenNothingIsWritten)
{
    EXPECT_THAT(runLogChild("nothing", {"LOG_CHILD_STATIC=1", "QX_LOG_LEVEL=ERROR"}).err, IsEmpty());
}

TEST(LogProcess, GivenAThreadLocalObjectOlderThanTheStream_WhenItsDestructorLogs_ThenTheLineIsWritten)
{
    const auto result = runLogChild("thread-locals");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.err,
                ElementsAre(EndsWith("first statement of the thread"), EndsWith("thread-local object destroyed")));
}

TEST(LogProcess, GivenAFullStandardError_WhenLogging_ThenTheProgramGoesOn)
{
    EXPECT_EQ(runLogChild("levels", {}, "/dev/full").exitCode, 0);
}

} // namespace
