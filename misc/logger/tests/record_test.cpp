/// What back ends rely on without naming it: the order of a record's members.
#include <string>

#include <gtest/gtest.h>
#include <logger/logger.h>

namespace {

using namespace qx::logging;

TEST(LogRecord, GivenItsMembersInOrder_WhenTakenApart_ThenEachIsWhereBackEndsExpectIt)
{
    const ConstSourcePtr origin = MakeSource("origin");
    const std::string text = "text";
    const LogRecord record{QXLOG_ERROR, 13, QXLOG_DECODE_AS_PB, origin, "file", 7, text, {1, 2}, 3, {}};

    const auto& [level, id, decodeType, source, file, line, msg, logTime, threadId, function] = record;
    EXPECT_EQ(level, QXLOG_ERROR);
    EXPECT_EQ(id, 13U);
    EXPECT_EQ(decodeType, QXLOG_DECODE_AS_PB);
    EXPECT_EQ(&source, &origin);
    EXPECT_STREQ(file, "file");
    EXPECT_EQ(line, 7);
    EXPECT_EQ(&msg, &text);
    EXPECT_EQ(logTime.seconds, 1);
    EXPECT_EQ(logTime.nanoseconds, 2);
    EXPECT_EQ(threadId, 3U);
    EXPECT_FALSE(function);
}

TEST(LogRecord, GivenATextOnDemand_WhenCalled_ThenItWritesIntoTheStreamItIsGiven)
{
    const ConstSourcePtr none;
    const std::string text;
    const LogRecord record{QXLOG_INFO,
                           0,
                           QXLOG_DECODE_AS_KV,
                           none,
                           "file",
                           7,
                           text,
                           {1, 2},
                           3,
                           [](IPStringStream& stream) { stream << "late"; }};
    IPStringStream stream;
    record.function(stream);
    EXPECT_EQ(stream.str(), "late");
}

} // namespace
