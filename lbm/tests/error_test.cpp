#include <cstdlib>
#include <string>
#include <type_traits>

#include <gmock/gmock.h>

#include <lbm/lbm_cpp.h>

#include "lbm/tests/statement.h"
#include "tests/doubles/captured_log.h"
#include "tests/doubles/lbm_double/lbm_double.h"

using namespace qx::logging;
using lbm::test::Statement;
using lbm::test::ThrownText;
using qx::test::CapturedLog;
using qx::test::LbmDouble;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

static_assert(std::is_base_of_v<std::runtime_error, lbm::LbmError>);
static_assert(sizeof(lbm::LbmError) == sizeof(std::runtime_error), "no members of its own");

namespace {

/// Sets or unsets a variable for one test.
class ScopedVariable {
public:
    ScopedVariable(const char* name, const char* value)
        : m_name(name)
    {
        value != nullptr ? setenv(name, value, 1) : unsetenv(name);
    }
    ~ScopedVariable() { unsetenv(m_name); }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    const char* m_name;
};

constexpr const char* variable = "QX_LBM_ERROR_TEST_VARIABLE";

} // namespace

TEST(LbmError, GivenTransportText_WhenMade_ThenTextIsMessageColonTransportText)
{
    LbmDouble transport;
    transport.set_error(LBM_EINVAL, "no such thing");
    EXPECT_STREQ(lbm::LbmError("Failed to do it").what(), "Failed to do it: no such thing");
}

TEST(LbmError, GivenLaterTransportFailure_WhenRead_ThenTextIsThatOfItsMaking)
{
    LbmDouble transport;
    transport.set_error(LBM_EINVAL, "first");
    const lbm::LbmError error("Failed");
    transport.set_error(LBM_EINVAL, "second");
    EXPECT_STREQ(error.what(), "Failed: first");
}

TEST(LbmError, GivenNoTransportFailureYet_WhenMade_ThenTextEndsInColonAndSpace)
{
    LbmDouble transport;
    EXPECT_STREQ(lbm::LbmError("Failed").what(), "Failed: ");
}

TEST(LbmError, GivenNullTransportText_WhenMade_ThenTextEndsInColonAndSpace)
{
    LbmDouble transport;
    transport.script_nth("lbm_context_attr_create", 1, {.errmsg = std::nullopt});
    EXPECT_EQ(ThrownText([] { lbm::ContextAttributes attributes; }), "Failed to create LBM context attributes: ");
}

TEST(ThrowLbmError, GivenErrorsLogged_WhenCalled_ThenLogsOnceAndThrowsTheSameText)
{
    LbmDouble transport;
    CapturedLog log(QXLOG_ERROR);
    transport.set_error(LBM_EINVAL, "reason");
    EXPECT_EQ(ThrownText([] { lbm::details::ThrowLbmError("Failed to do it"); }), "Failed to do it: reason");
    EXPECT_THAT(log.statements(), ElementsAre(Statement(QXLOG_ERROR, 65, "Failed to do it: reason")));
}

TEST(ThrowLbmError, GivenErrorsLogged_WhenCalled_ThenTransportTextIsReadOnce)
{
    LbmDouble transport;
    CapturedLog log;
    EXPECT_THROW(lbm::details::ThrowLbmError("Failed"), lbm::LbmError);
    EXPECT_EQ(transport.errmsg_calls(), 1);
}

TEST(ThrowLbmError, GivenErrorsNotLogged_WhenCalled_ThenTransportTextIsReadOnce)
{
    LbmDouble transport;
    CapturedLog log(QXLOG_ERROR + 1);
    EXPECT_THROW(lbm::details::ThrowLbmError("Failed"), lbm::LbmError);
    EXPECT_EQ(transport.errmsg_calls(), 1);
}

TEST(ThrowLbmError, GivenErrorsNotLogged_WhenCalled_ThenStillThrowsWithTransportText)
{
    LbmDouble transport;
    CapturedLog log(QXLOG_ERROR + 1);
    transport.set_error(LBM_EINVAL, "reason");
    EXPECT_EQ(ThrownText([] { lbm::details::ThrowLbmError("Failed"); }), "Failed: reason");
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(LogLbmError, GivenErrorsLogged_WhenCalled_ThenOneStatementWithTransportText)
{
    LbmDouble transport;
    CapturedLog log(QXLOG_ERROR);
    transport.set_error(LBM_EINVAL, "reason");
    lbm::details::LogLbmError("Failed to delete it");
    EXPECT_THAT(log.statements(), ElementsAre(Statement(QXLOG_ERROR, 71, "Failed to delete it: reason")));
}

TEST(LogLbmError, GivenErrorsNotLogged_WhenCalled_ThenTransportIsNotAsked)
{
    LbmDouble transport;
    CapturedLog log(QXLOG_ERROR + 1);
    lbm::details::LogLbmError("Failed to delete it");
    EXPECT_THAT(log.texts(), IsEmpty());
    EXPECT_EQ(transport.errmsg_calls(), 0);
}

TEST(LogLbmError, GivenNullMessage_WhenCalled_ThenTheRestIsWritten)
{
    LbmDouble transport;
    CapturedLog log;
    transport.set_error(LBM_EINVAL, "reason");
    lbm::details::LogLbmError(nullptr);
    EXPECT_THAT(log.texts(), ElementsAre(": reason"));
}

TEST(LogLbmError, GivenNullTransportText_WhenCalled_ThenTheRestIsWritten)
{
    LbmDouble transport;
    CapturedLog log;
    transport.script_nth("lbm_rcv_topic_attr_delete", 1, {.errmsg = std::nullopt});
    {
        const lbm::ReceiverTopicAttributes undeletable;
    }
    EXPECT_THAT(log.texts(), ElementsAre("Failed to delete LBM receiver topic attributes: "));
}

TEST(LogLbmError, GivenNullMessage_WhenTheThreadLogsAgain_ThenItsStreamStillWorks)
{
    LbmDouble transport;
    CapturedLog log;
    lbm::details::LogLbmError(nullptr);
    QX_LOG(QXLOG_INFO) << "next";
    EXPECT_THAT(log.texts(), ElementsAre(": ", "next"));
}

TEST(GetEnvVar, GivenUnsetVariable_WhenRead_ThenEmpty)
{
    const ScopedVariable unset(variable, nullptr);
    EXPECT_EQ(lbm::getEnvVar(variable), "");
}

TEST(GetEnvVar, GivenEmptyVariable_WhenRead_ThenEmpty)
{
    const ScopedVariable empty(variable, "");
    EXPECT_EQ(lbm::getEnvVar(variable), "");
}

TEST(GetEnvVar, GivenBlanksAndMixedCase_WhenRead_ThenValueAsItStands)
{
    const ScopedVariable set(variable, "  Mixed Case ");
    EXPECT_EQ(lbm::getEnvVar(variable), "  Mixed Case ");
}
