/// What one statement leaves behind for the next: its error state, fill character, locale and exception mask, but not
/// its flags, precision and width. And that threads share nothing.
#include <iomanip>
#include <latch>
#include <string>
#include <thread>

#include <gmock/gmock.h>
#include <logger/logger.h>

#include "tests/doubles/captured_log.h"

namespace {

using namespace qx::logging;
using qx::test::CapturedLog;
using testing::ElementsAre;

/// A broken or formatted stream stays with its thread: each such test runs on one of its own.
template <class Body>
void onOwnThread(Body body)
{
    std::thread(body).join();
}

const char* noText()
{
    return nullptr;
}

TEST(StreamState, GivenHexadecimal_WhenTheNextStatementRuns_ThenItIsDecimal)
{
    const CapturedLog log;
    QX_LOG(QXLOG_INFO) << std::hex << std::showbase << 255;
    QX_LOG(QXLOG_INFO) << 255;
    EXPECT_THAT(log.texts(), ElementsAre("0xff", "255"));
}

TEST(StreamState, GivenAPrecision_WhenTheNextStatementRuns_ThenItIsAsBefore)
{
    const CapturedLog log;
    QX_LOG(QXLOG_INFO) << std::fixed << std::setprecision(1) << 2.0 / 3;
    QX_LOG(QXLOG_INFO) << 2.0 / 3;
    EXPECT_THAT(log.texts(), ElementsAre("0.7", "0.666667"));
}

TEST(StreamState, GivenAWidthThatNothingUsedUp_WhenTheNextStatementRuns_ThenItIsNotPadded)
{
    const CapturedLog log;
    QX_LOG(QXLOG_INFO) << "x" << std::setw(8);
    QX_LOG(QXLOG_INFO) << "y";
    EXPECT_THAT(log.texts(), ElementsAre("x", "y"));
}

TEST(StreamState, GivenAFillCharacter_WhenTheNextStatementRuns_ThenItIsStillThere)
{
    onOwnThread([] {
        const CapturedLog log;
        QX_LOG(QXLOG_INFO) << std::setfill('0');
        QX_LOG(QXLOG_INFO) << std::setw(3) << 2;
        EXPECT_THAT(log.texts(), ElementsAre("", "002"));
    });
}

TEST(StreamState, GivenSettingsFromBeforeTheStatement_WhenItEnds_ThenTheyAreBack)
{
    onOwnThread([] {
        const CapturedLog log;
        auto& stream = GetThreadLocalStream();
        stream.width(3);
        stream.precision(2);
        stream.setf(std::ios_base::uppercase);

        QX_LOG(QXLOG_INFO) << std::setprecision(9) << std::nouppercase << std::setw(1) << 1;

        EXPECT_EQ(stream.width(), 3);
        EXPECT_EQ(stream.precision(), 2);
        EXPECT_TRUE(stream.flags() & std::ios_base::uppercase);
    });
}

TEST(StreamState, GivenANullPointer_WhenStreamed_ThenTheRestOfTheStatementIsDropped)
{
    onOwnThread([] {
        const CapturedLog log;
        QX_LOG(QXLOG_INFO) << "name=" << noText() << " more";
        EXPECT_THAT(log.texts(), ElementsAre("name="));
    });
}

TEST(StreamState, GivenANullPointerWasStreamed_WhenLaterStatementsRun_ThenTheyDeliverEmptyTexts)
{
    onOwnThread([] {
        const CapturedLog log;
        QX_LOG(QXLOG_INFO) << noText();
        QX_LOG(QXLOG_INFO) << "later";
        QX_LOG(QXLOG_ERROR) << "later still";
        EXPECT_THAT(log.texts(), ElementsAre("", "", ""));
        EXPECT_TRUE(GetThreadLocalStream().bad());
    });
}

TEST(StreamState, GivenABrokenStreamAndHexadecimal_WhenTheStatementEnds_ThenTheFormatIsStillReset)
{
    onOwnThread([] {
        const CapturedLog log;
        QX_LOG(QXLOG_INFO) << std::hex << noText();
        EXPECT_TRUE(GetThreadLocalStream().flags() & std::ios_base::dec);
    });
}

TEST(StreamState, GivenOneThreadBrokeItsStream_WhenAnotherLogs_ThenItsTextIsDelivered)
{
    const CapturedLog log;
    onOwnThread([] { QX_LOG(QXLOG_INFO) << noText(); });
    onOwnThread([] { QX_LOG(QXLOG_INFO) << "text"; });
    EXPECT_THAT(log.texts(), ElementsAre("", "text"));
}

TEST(StreamState, GivenASuppressedStatement_WhenItHoldsANullPointer_ThenTheStreamIsNotTouched)
{
    onOwnThread([] {
        const CapturedLog log(QXLOG_WARNING);
        QX_LOG(QXLOG_INFO) << noText();
        QX_LOG(QXLOG_WARNING) << "text";
        EXPECT_THAT(log.texts(), ElementsAre("text"));
    });
}

TEST(Threads, GivenTwoStatementsUnderWayAtOnce_WhenEmitted_ThenEachDeliversOnlyItsOwnText)
{
    const CapturedLog log;
    std::latch bothBegun(2);
    std::latch bothStreamed(2);
    const auto statement = [&](const std::string& text) {
        Logger logger(QXLOG_INFO, 0, QXLOG_DECODE_AS_KV, {}, "f", 1, {});
        logger.Stream() << text;
        bothBegun.arrive_and_wait();
        logger.Stream() << text;
        bothStreamed.arrive_and_wait();
    };
    std::thread other(statement, "b");
    statement("a");
    other.join();
    EXPECT_THAT(log.texts(), testing::UnorderedElementsAre("aa", "bb"));
}

TEST(Threads, GivenManyStatementsOnTwoThreads_WhenEmitted_ThenNoTextIsMixed)
{
    const CapturedLog log;
    const auto many = [](char letter) {
        for (int i = 0; i < 1000; ++i) {
            QX_LOG(QXLOG_INFO) << std::string(5, letter) << std::string(5, letter);
        }
    };
    std::thread other(many, 'b');
    many('a');
    other.join();
    const auto texts = log.texts();
    EXPECT_EQ(texts.size(), 2000U);
    EXPECT_THAT(texts, testing::Each(testing::AnyOf("aaaaaaaaaa", "bbbbbbbbbb")));
}

} // namespace
