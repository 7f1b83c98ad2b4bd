#include <future>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/transport/source/error.h"

namespace qx::transport {
namespace {

using ::testing::EndsWith;

TEST(LastError, GivenNewThread_WhenAsked_ThenThereIsNone)
{
    const auto [number, text] = std::async(std::launch::async, [] {
                                    return std::pair{lbm_errnum(), std::string(lbm_errmsg())};
                                }).get();
    EXPECT_EQ(number, 0);
    EXPECT_EQ(text, "");
}

TEST(LastError, GivenFailure_WhenAsked_ThenNumberAndTextAreItsOwn)
{
    EXPECT_EQ(fail(LBM_EOP, "lbm_thing(a): cannot"), LBM_FAILURE);
    EXPECT_EQ(lbm_errnum(), LBM_EOP);
    EXPECT_STREQ(lbm_errmsg(), "lbm_thing(a): cannot");
}

TEST(LastError, GivenFailureOnAnotherThread_WhenAsked_ThenOwnOneIsKept)
{
    fail(LBM_EINVAL, "mine");
    std::thread([] { fail(LBM_ENOMEM, "theirs"); }).join();
    EXPECT_EQ(lbm_errnum(), LBM_EINVAL);
    EXPECT_STREQ(lbm_errmsg(), "mine");
}

TEST(LastError, GivenItsOwnText_WhenRecordedAgain_ThenItIsUnchanged)
{
    fail(LBM_EOP, "first");
    fail(LBM_EOS, lbm_errmsg());
    EXPECT_STREQ(lbm_errmsg(), "first");
}

TEST(LastError, GivenTextOfGreatestLength_WhenRecorded_ThenItIsWhole)
{
    const std::string text(error_text_max, 'x');
    fail(LBM_EOP, text);
    EXPECT_EQ(lbm_errmsg(), text);
}

TEST(LastError, GivenTextOneTooLong_WhenRecorded_ThenTheCutIsMarked)
{
    fail(LBM_EOP, std::string(error_text_max + 1, 'x'));
    const std::string text = lbm_errmsg();
    EXPECT_EQ(text.size(), error_text_max);
    EXPECT_THAT(text, EndsWith("x..."));
}

TEST(LastError, GivenOverlongSubject_WhenRecorded_ThenTheCutIsMarked)
{
    fail_call(LBM_EOP, "lbm_thing", std::string(2 * error_text_max, 's').c_str(), "reason");
    EXPECT_THAT(lbm_errmsg(), EndsWith("s..."));
}

TEST(Guarded, GivenFunctionWithResult_WhenItReturns_ThenResultIsPassedOn)
{
    EXPECT_EQ(guarded("lbm_thing", "a", [] { return 42; }), 42);
}

TEST(Guarded, GivenFunctionWithoutResult_WhenItReturns_ThenOk)
{
    EXPECT_EQ(guarded("lbm_thing", "a", [] {}), LBM_OK);
}

TEST(Guarded, GivenSuccess_WhenAskedAfterwards_ThenEarlierFailureIsKept)
{
    fail(LBM_EOP, "earlier");
    guarded("lbm_thing", "a", [] {});
    EXPECT_EQ(lbm_errnum(), LBM_EOP);
    EXPECT_STREQ(lbm_errmsg(), "earlier");
}

TEST(Guarded, GivenTransportError_WhenThrown_ThenCallSubjectAndReasonAreTold)
{
    const auto refuse = [] { throw TransportError(LBM_ETIMEDOUT, "too slow"); };
    EXPECT_EQ(guarded("lbm_thing", "EUR", refuse), LBM_FAILURE);
    EXPECT_EQ(lbm_errnum(), LBM_ETIMEDOUT);
    EXPECT_STREQ(lbm_errmsg(), "lbm_thing(EUR): too slow");
}

TEST(Guarded, GivenNullSubject_WhenFailing_ThenSubjectIsEmpty)
{
    guarded("lbm_thing", nullptr, [] { throw TransportError(LBM_EOP, "no"); });
    EXPECT_STREQ(lbm_errmsg(), "lbm_thing(): no");
}

TEST(Guarded, GivenNoMemory_WhenThrown_ThenNumberSaysSo)
{
    EXPECT_EQ(guarded("lbm_thing", "a", [] { throw std::bad_alloc(); }), LBM_FAILURE);
    EXPECT_EQ(lbm_errnum(), LBM_ENOMEM);
    EXPECT_STREQ(lbm_errmsg(), "lbm_thing(a): out of memory");
}

TEST(Guarded, GivenOtherException_WhenThrown_ThenItsTextIsTheReason)
{
    EXPECT_EQ(guarded("lbm_thing", "a", [] { throw std::logic_error("odd"); }), LBM_FAILURE);
    EXPECT_EQ(lbm_errnum(), LBM_EOS);
    EXPECT_STREQ(lbm_errmsg(), "lbm_thing(a): odd");
}

TEST(Guarded, GivenWhatIsNoException_WhenThrown_ThenProcessEnds)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(guarded("lbm_thing", "a", [] { throw 1; }), "");
}

TEST(Require, GivenNull_WhenRequired_ThenItIsNamed)
{
    try {
        require(nullptr, "topic");
        FAIL() << "accepted";
    } catch (const TransportError& e) {
        EXPECT_EQ(e.code(), LBM_EINVAL);
        EXPECT_STREQ(e.what(), "topic is NULL");
    }
}

/// Fails when thread-local storage with a destructor is used: it is gone by the time this object goes.
struct FailsLast {
    ~FailsLast()
    {
        fail(LBM_EOP, "at the very end");
        std::fputs(lbm_errmsg(), stderr);
    }
};

TEST(LastError, GivenStaticObject_WhenItFailsWhileProcessEnds_ThenTextIsReadable)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto end_process = [] {
        static const FailsLast last;
        fail(LBM_EOP, "before");
        std::exit(7);
    };
    EXPECT_EXIT(end_process(), ::testing::ExitedWithCode(7), "at the very end");
}

} // namespace
} // namespace qx::transport
