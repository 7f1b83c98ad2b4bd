#include "platform/log_backend/source/line_format.h"

#include <cstdlib>
#include <ctime>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using namespace qx::logging;
using namespace qx::logging::backend;

/// A statement with the fields that a test does not care about filled in.
struct Statement {
    ConstSourcePtr source;
    std::string text = "text";
    const char* file = "a/b.cpp";
    LogLevel level = QXLOG_WARNING;
    DecodeType decode = QXLOG_DECODE_AS_KV;
    LogRecord::Time time{1'772'357'400, 123'999};

    std::string as(LineFormat format, TimeZone zone = TimeZone::utc) const
    {
        return formatLine({level, 13, decode, source, file, 42, text, time, 4711, {}}, format, zone);
    }
    nlohmann::json json() const { return nlohmann::json::parse(as(LineFormat::json)); }
};

class LocalTime {
public:
    explicit LocalTime(const char* zone) { set(zone); }
    ~LocalTime() { set("UTC"); }
    LocalTime(const LocalTime&) = delete;
    LocalTime& operator=(const LocalTime&) = delete;

private:
    static void set(const char* zone)
    {
        setenv("TZ", zone, 1);
        tzset();
    }
};

TEST(TextLine, GivenAPlainStatement_ThenAllFieldsInOrder)
{
    EXPECT_EQ(Statement{}.as(LineFormat::text), "2026-03-01T09:30:00.000123Z 4711 WARNING - a/b.cpp:42 text\n");
}

TEST(TextLine, GivenASource_ThenItsChainIsShownOutermostFirst)
{
    Statement statement;
    statement.source = MakeSource("inner", MakeSource("middle", MakeSource("outer")));
    EXPECT_EQ(statement.as(LineFormat::text),
              "2026-03-01T09:30:00.000123Z 4711 WARNING outer/middle/inner a/b.cpp:42 text\n");
}

TEST(TextLine, GivenNoText_ThenTheLineEndsAfterThePlace)
{
    Statement statement;
    statement.text = "";
    EXPECT_TRUE(statement.as(LineFormat::text).ends_with(" a/b.cpp:42 \n"));
}

TEST(TextLine, GivenNoFile_ThenADashStandsForIt)
{
    Statement statement;
    statement.file = nullptr;
    EXPECT_TRUE(statement.as(LineFormat::text).ends_with(" WARNING - -:42 text\n"));
}

TEST(TextLine, GivenLineFeedsInAnyField_ThenItStaysOneLine)
{
    Statement statement;
    statement.text = "a\nb";
    statement.file = "f\ng";
    statement.source = MakeSource("s\nt");
    EXPECT_TRUE(statement.as(LineFormat::text).ends_with(" s\\nt f\\ng:42 a\\nb\n"));
}

TEST(TextLine, GivenLocalTimeEastOfGreenwich_ThenThePositiveOffset)
{
    const LocalTime zone("ABC-05:30");
    EXPECT_TRUE(Statement{}.as(LineFormat::text, TimeZone::local).starts_with("2026-03-01T15:00:00.000123+05:30 "));
}

TEST(TextLine, GivenLocalTimeWestOfGreenwich_ThenTheNegativeOffset)
{
    const LocalTime zone("XXX03:30");
    EXPECT_TRUE(Statement{}.as(LineFormat::text, TimeZone::local).starts_with("2026-03-01T06:00:00.000123-03:30 "));
}

TEST(TextLine, GivenUtcAskedForUnderALocalZone_ThenUtc)
{
    const LocalTime zone("ABC-05:30");
    EXPECT_TRUE(Statement{}.as(LineFormat::text).starts_with("2026-03-01T09:30:00.000123Z "));
}

TEST(JsonLine, GivenAPlainStatement_ThenAllMembersInOrder)
{
    EXPECT_EQ(Statement{}.as(LineFormat::json),
              R"({"time":"2026-03-01T09:30:00.000123Z","thread":4711,"level":"WARNING","severity":20,"source":"",)"
              R"("file":"a/b.cpp","line":42,"id":13,"decode":"kv","text":"text"})"
              "\n");
}

TEST(JsonLine, GivenASource_ThenItsChainIsShownOutermostFirst)
{
    Statement statement;
    statement.source = MakeSource("inner", MakeSource("outer"));
    EXPECT_EQ(statement.json()["source"], "outer/inner");
}

TEST(JsonLine, GivenEveryDecodeType_ThenItsName)
{
    const auto name = [](DecodeType type) {
        Statement statement;
        statement.decode = type;
        return statement.json()["decode"].get<std::string>();
    };
    EXPECT_EQ(name(QXLOG_DECODE_AS_NONE), "none");
    EXPECT_EQ(name(QXLOG_DECODE_AS_KV), "kv");
    EXPECT_EQ(name(QXLOG_DECODE_AS_JSON), "json");
    EXPECT_EQ(name(QXLOG_DECODE_AS_MIXED), "mixed");
    EXPECT_EQ(name(QXLOG_DECODE_AS_PB), "pb");
}

TEST(JsonLine, GivenTextWithQuotesAndLineFeeds_ThenAParserReadsItBack)
{
    Statement statement;
    statement.text = std::string("a\"b\\\n\0\x7f", 7);
    EXPECT_EQ(statement.json()["text"], statement.text);
}

TEST(JsonLine, GivenBytesThatAreNotUtf8_ThenTheLineIsStillValidJson)
{
    Statement statement;
    statement.text = "\xFFz";
    EXPECT_EQ(statement.json()["text"], "\xEF\xBF\xBDz");
}

TEST(JsonLine, GivenNoFile_ThenAnEmptyString)
{
    Statement statement;
    statement.file = nullptr;
    EXPECT_EQ(statement.json()["file"], "");
}

} // namespace
