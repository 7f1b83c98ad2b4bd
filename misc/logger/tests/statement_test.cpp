/// What a statement delivers: its text and the fields that travel with it.
#include <array>
#include <stdexcept>
#include <string>
#include <type_traits>

#include <gmock/gmock.h>
#include <logger/logger.h>

#include "tests/doubles/captured_log.h"

namespace {

using namespace qx::logging;
using qx::test::CapturedLog;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

static_assert(QXLOG_DEBUG == 0 && QXLOG_INFO == 10 && QXLOG_INFO_LOCAL == 14 && QXLOG_INFO_SEARCH == 17);
static_assert(QXLOG_WARNING == 20 && QXLOG_ERROR == 30 && QXLOG_ALERT == 35 && QXLOG_CRITICAL == 40);
static_assert(QXLOG_WALL == 100);
static_assert(QXLOG_DECODE_AS_NONE == 0 && QXLOG_DECODE_AS_KV == 1 && QXLOG_DECODE_AS_JSON == 2);
static_assert(QXLOG_DECODE_AS_MIXED == 3 && QXLOG_DECODE_AS_PB == 4);
static_assert(sizeof(LogLevel) == 4 && std::is_signed_v<std::underlying_type_t<LogLevel>>);
static_assert(sizeof(DecodeType) == 4);
static_assert(std::has_virtual_destructor_v<Logger> && std::is_nothrow_destructible_v<Logger>);
static_assert(std::is_copy_constructible_v<Logger> && !std::is_copy_assignable_v<Logger>);
static_assert(std::is_empty_v<VoidifyStream>);
static_assert(std::is_void_v<decltype(VoidifyStream{} & std::declval<std::ostream&>())>);
static_assert(std::is_void_v<decltype(QX_LOG(QXLOG_INFO) << "")>);

TEST(Statement, GivenNothingButALevel_WhenEmitted_ThenTheUsualFieldsAndThePlaceWhereItStands)
{
    const CapturedLog log;
    const int line = __LINE__ + 1;
    QX_LOG(QXLOG_INFO) << "text";

    ASSERT_EQ(log.statements().size(), 1U);
    const auto statement = log.statements()[0];
    EXPECT_EQ(statement.level, QXLOG_INFO);
    EXPECT_EQ(statement.id, 0U);
    EXPECT_EQ(statement.decodeType, QXLOG_DECODE_AS_KV);
    EXPECT_EQ(statement.source, "");
    EXPECT_THAT(statement.file, EndsWith("misc/logger/tests/statement_test.cpp"));
    EXPECT_EQ(statement.line, line);
    EXPECT_EQ(statement.text, "text");
    EXPECT_EQ(statement.handlerName, "");
}

TEST(Statement, GivenAnId_WhenEmitted_ThenItIsDelivered)
{
    const CapturedLog log;
    QX_LOG_ID(QXLOG_WARNING, 13) << "text";
    EXPECT_EQ(log.statements().at(0).id, 13U);
    EXPECT_EQ(log.statements().at(0).level, QXLOG_WARNING);
}

TEST(Statement, GivenASourceAndAPlace_WhenEmitted_ThenTheyAreDelivered)
{
    const CapturedLog log;
    const auto source = MakeSource("origin");
    QX_LOG_AT(QXLOG_ERROR, source, "fixed.cpp", 77) << "text";
    EXPECT_EQ(log.statements().at(0).source, "origin");
    EXPECT_EQ(log.statements().at(0).file, "fixed.cpp");
    EXPECT_EQ(log.statements().at(0).line, 77);
}

TEST(Statement, GivenALoggerMadeByHand_WhenDestroyed_ThenEveryFieldIsDelivered)
{
    const CapturedLog log;
    {
        Logger logger(QXLOG_ALERT, 4'294'967'295U, QXLOG_DECODE_AS_PB, MakeSource("origin"), "f", -1, "handler");
        logger.Stream() << "text";
    }
    ASSERT_EQ(log.statements().size(), 1U);
    const auto statement = log.statements()[0];
    EXPECT_EQ(statement.level, QXLOG_ALERT);
    EXPECT_EQ(statement.id, 4'294'967'295U);
    EXPECT_EQ(statement.decodeType, QXLOG_DECODE_AS_PB);
    EXPECT_EQ(statement.source, "origin");
    EXPECT_EQ(statement.file, "f");
    EXPECT_EQ(statement.line, -1);
    EXPECT_EQ(statement.text, "text");
    EXPECT_EQ(statement.handlerName, "handler");
}

TEST(Statement, GivenNoOperands_WhenEmitted_ThenTheTextIsEmpty)
{
    const CapturedLog log;
    QX_LOG(QXLOG_INFO);
    EXPECT_THAT(log.texts(), ElementsAre(""));
}

TEST(Statement, GivenOperandsOfManyTypes_WhenEmitted_ThenTheyAreStreamedInOrder)
{
    const CapturedLog log;
    QX_LOG(QXLOG_INFO) << "a=" << 1 << " b=" << std::string("two") << " c=" << 2.5 << " d=" << true << 'e'
                       << 18'446'744'073'709'551'615ULL;
    EXPECT_THAT(log.texts(), ElementsAre("a=1 b=two c=2.5 d=1e18446744073709551615"));
}

TEST(Statement, GivenTextWithAnyBytes_WhenEmitted_ThenItIsDeliveredExactly)
{
    const CapturedLog log;
    const std::string bytes("\0\n\x1b\xFF", 4);
    QX_LOG(QXLOG_INFO) << bytes;
    EXPECT_THAT(log.texts(), ElementsAre(bytes));
}

TEST(Statement, GivenAnEarlierStatement_WhenEmitted_ThenNothingOfItIsLeft)
{
    const CapturedLog log;
    QX_LOG(QXLOG_INFO) << "a long first text";
    QX_LOG(QXLOG_INFO) << "b";
    QX_LOG(QXLOG_INFO);
    EXPECT_THAT(log.texts(), ElementsAre("a long first text", "b", ""));
}

TEST(Statement, GivenAnOperandThatThrows_WhenUnwinding_ThenTheTextSoFarIsDeliveredAndTheNextStartsEmpty)
{
    const CapturedLog log;
    const auto failing = []() -> int { throw std::runtime_error("no value"); };
    EXPECT_THROW(QX_LOG(QXLOG_INFO) << "value=" << failing(), std::runtime_error);
    QX_LOG(QXLOG_INFO) << "next";
    EXPECT_THAT(log.texts(), ElementsAre("value=", "next"));
}

TEST(Statement, GivenAnUnbracedIfElse_WhenEmitted_ThenItStandsAsOneStatement)
{
    const CapturedLog log;
    for (const bool first : {true, false}) {
        // NOLINTBEGIN(readability-braces-around-statements): the case under test
        if (first)
            QX_LOG(QXLOG_INFO) << "first";
        else
            QX_LOG(QXLOG_INFO) << "second";
        // NOLINTEND(readability-braces-around-statements)
    }
    EXPECT_THAT(log.texts(), ElementsAre("first", "second"));
}

TEST(Statement, GivenACopy_WhenBothEnd_ThenTheFirstToEndDeliversTheText)
{
    const CapturedLog log;
    {
        Logger logger(QXLOG_INFO, 13, QXLOG_DECODE_AS_KV, {}, "f", 1, "handler");
        logger.Stream() << "text";
        const Logger copy(logger); // NOLINT(performance-unnecessary-copy-initialization): the case under test
    }
    EXPECT_THAT(log.texts(), ElementsAre("text", ""));
    EXPECT_EQ(log.statements().at(0).id, 13U);
    EXPECT_EQ(log.statements().at(0).handlerName, "handler");
}

TEST(Gate, GivenALevelBelowTheMinimum_WhenReached_ThenNothingIsDeliveredAndNoOperandEvaluated)
{
    const CapturedLog log(QXLOG_WARNING);
    int evaluated = 0;
    QX_LOG(QXLOG_INFO_SEARCH) << ++evaluated;
    QX_LOG_ID(QXLOG_INFO, 13) << ++evaluated;
    QX_LOG_AT(QXLOG_DEBUG, MakeSource(std::to_string(++evaluated)), "f", 1) << "text";
    EXPECT_THAT(log.statements(), IsEmpty());
    EXPECT_EQ(log.force_lock_calls(), 0);
    EXPECT_EQ(evaluated, 0);
}

TEST(Gate, GivenExactlyTheMinimumLevel_WhenReached_ThenDelivered)
{
    const CapturedLog log(QXLOG_WARNING);
    int evaluated = 0;
    QX_LOG(QXLOG_WARNING) << ++evaluated;
    EXPECT_THAT(log.texts(), ElementsAre("1"));
    EXPECT_EQ(evaluated, 1);
}

TEST(Gate, GivenALevelAboveTheMinimum_WhenReached_ThenDelivered)
{
    const CapturedLog log(QXLOG_WARNING);
    QX_LOG(QXLOG_WALL) << "text";
    EXPECT_THAT(log.texts(), ElementsAre("text"));
}

TEST(Gate, GivenAMinimumBetweenLevels_WhenReached_ThenOnlyTheHigherIsDelivered)
{
    const CapturedLog log(15);
    QX_LOG(QXLOG_INFO_LOCAL) << "14";
    QX_LOG(QXLOG_INFO_SEARCH) << "17";
    EXPECT_THAT(log.texts(), ElementsAre("17"));
}

TEST(Gate, GivenANegativeMinimum_WhenReached_ThenEverythingIsDelivered)
{
    const CapturedLog log(-1);
    QX_LOG(QXLOG_DEBUG) << "text";
    EXPECT_THAT(log.texts(), ElementsAre("text"));
}

TEST(Gate, GivenTheMinimumIsRaised_WhenReachedAgain_ThenSuppressedFromThenOn)
{
    const CapturedLog log(QXLOG_DEBUG);
    for (const auto minimum : std::array{QXLOG_INFO, QXLOG_ERROR, QXLOG_INFO}) {
        g_minLogLevel = minimum;
        QX_LOG(QXLOG_WARNING) << minimum;
    }
    EXPECT_THAT(log.texts(), ElementsAre("10", "10"));
}

} // namespace
