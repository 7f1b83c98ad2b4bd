// What the handler makes of its environment. Topics that are asked for show environment and data centre, the line about
// a failed answer shows the retry settings.
#include <limits>
#include <string>
#include <type_traits>
#include <utility>

#include "lbm/tests/triage_fixture.h"
#include "lbm/tests/triage_requests.h"

using namespace qx::logging;
using lbm::test::TestRequest;
using lbm::test::TriageStatement;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

namespace {

static_assert(!std::is_polymorphic_v<lbm::LbmTriageHandler>);
static_assert(!std::is_copy_constructible_v<lbm::LbmTriageHandler>);
static_assert(!std::is_copy_assignable_v<lbm::LbmTriageHandler>);

class TriageInitialize : public lbm::test::TriageTest {
protected:
    explicit TriageInitialize(std::int32_t minLevel = QXLOG_DEBUG)
        : TriageTest(minLevel)
    {
    }

    std::vector<std::string> TopicsAskedFor()
    {
        lbm::Context context;
        transport.clear_calls();
        handler.registerContext("", &context);
        auto calls = transport.calls("lbm_rcv_topic_lookup");
        handler.unregisterContext(&context);
        return calls;
    }

    /// As the line about an answer that could not be sent shows them.
    std::string RetrySettings()
    {
        log.clear();
        transport.fail_next("lbm_send_response", LBM_EINVAL);
        handler.handleTriageMessage(
            transport.make_message({.type = LBM_MSG_REQUEST, .payload = TestRequest("1"), .withResponse = true}));
        const auto errors = log.texts(QXLOG_ERROR);
        return errors.size() == 1 ? errors.front() : "no single error";
    }

    lbm::LbmTriageHandler handler;
};

class TriageInitializeAboveSearch : public TriageInitialize {
protected:
    TriageInitializeAboveSearch()
        : TriageInitialize(QXLOG_INFO_SEARCH + 1)
    {
    }
};

class TriageInitializeAboveError : public TriageInitialize {
protected:
    TriageInitializeAboveError()
        : TriageInitialize(QXLOG_ERROR + 1)
    {
    }
};

class TriageDisabledBy : public TriageInitialize, public ::testing::WithParamInterface<const char*> {};

auto Settings(int maxRetries, int timeBetweenRetriesMs)
{
    return ::testing::AllOf(HasSubstr(" retrySleepMs=" + std::to_string(timeBetweenRetriesMs) + " "),
                            HasSubstr(" maxRetries=" + std::to_string(maxRetries) + " "));
}

} // namespace

TEST_P(TriageDisabledBy, GivenAnyText_WhenInitialized_ThenOneStatementShowsIt)
{
    variables.Set("DISABLE_LBM_TRIAGE_HANDLER", GetParam());
    handler.Initialize();
    EXPECT_THAT(log.statements(),
                ElementsAre(TriageStatement(QXLOG_INFO_SEARCH, 1290,
                                            std::string("triage_handler disabled via environment variable being "
                                                        "present DISABLE_LBM_TRIAGE_HANDLER=") +
                                                GetParam())));
}

TEST_P(TriageDisabledBy, GivenAnyText_WhenAContextRegisters_ThenNoTopicIsAskedFor)
{
    variables.Set("DISABLE_LBM_TRIAGE_HANDLER", GetParam());
    handler.Initialize();
    EXPECT_THAT(TopicsAskedFor(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Texts, TriageDisabledBy, ::testing::Values("1", "0", "false", " ", "no"));

TEST_F(TriageInitialize, GivenEmptyDisable_WhenInitialized_ThenTriageIsOn)
{
    variables.Set("DISABLE_LBM_TRIAGE_HANDLER", "");
    handler.Initialize();
    EXPECT_THAT(TopicsAskedFor(), Not(IsEmpty()));
}

TEST_F(TriageInitialize, GivenDisable_WhenInitialized_ThenNothingElseIsReadOrMade)
{
    variables.Set("DISABLE_LBM_TRIAGE_HANDLER", "1");
    variables.Set("TRIAGE_HANDLER_USE_EVENT_QUEUE", "1");
    variables.Unset("DATA_CENTER");
    handler.Initialize();
    EXPECT_THAT(transport.calls(), IsEmpty());
    EXPECT_THAT(log.texts(), ElementsAre(HasSubstr("disabled via environment")));
}

TEST_F(TriageInitializeAboveSearch, GivenDisable_WhenInitialized_ThenDisabledWithoutALine)
{
    variables.Set("DISABLE_LBM_TRIAGE_HANDLER", "1");
    handler.Initialize();
    EXPECT_THAT(log.texts(), IsEmpty());
    EXPECT_THAT(TopicsAskedFor(), IsEmpty());
}

TEST_F(TriageInitialize, GivenNoEnvironment_WhenInitialized_ThenErrorShowsBothAndTriageIsOff)
{
    variables.Unset("CHEF_ENVIRONMENT");
    handler.Initialize();
    EXPECT_THAT(log.statements(),
                ElementsAre(TriageStatement(QXLOG_ERROR, 1297,
                                            "CHEF_ENVIRONMENT or DATA_CENTER environment variables are not set. "
                                            "triage_handler will be disabled. CHEF_ENVIRONMENT= DATA_CENTER=CH")));
    EXPECT_THAT(TopicsAskedFor(), IsEmpty());
}

TEST_F(TriageInitialize, GivenEmptyDataCenter_WhenInitialized_ThenErrorShowsBothAndTriageIsOff)
{
    variables.Set("DATA_CENTER", "");
    handler.Initialize();
    EXPECT_THAT(log.statements(),
                ElementsAre(TriageStatement(QXLOG_ERROR, 1297,
                                            "CHEF_ENVIRONMENT or DATA_CENTER environment variables are not set. "
                                            "triage_handler will be disabled. CHEF_ENVIRONMENT=DEV DATA_CENTER=")));
    EXPECT_THAT(TopicsAskedFor(), IsEmpty());
}

TEST_F(TriageInitialize, GivenNeither_WhenInitialized_ThenErrorShowsBothEmpty)
{
    variables.Unset("CHEF_ENVIRONMENT");
    variables.Unset("DATA_CENTER");
    handler.Initialize();
    EXPECT_THAT(log.texts(QXLOG_ERROR), ElementsAre(::testing::EndsWith("CHEF_ENVIRONMENT= DATA_CENTER=")));
}

TEST_F(TriageInitializeAboveError, GivenNoEnvironment_WhenInitialized_ThenOffWithoutALine)
{
    variables.Unset("CHEF_ENVIRONMENT");
    handler.Initialize();
    EXPECT_THAT(log.texts(), IsEmpty());
    EXPECT_THAT(TopicsAskedFor(), IsEmpty());
}

TEST_F(TriageInitialize, GivenLowerCase_WhenInitialized_ThenTopicsAreInUpperCase)
{
    handler.Initialize();
    EXPECT_THAT(TopicsAskedFor(),
                ElementsAre(HasSubstr("'TRIAGE.ACTION.DEV.LBM'"), HasSubstr("'TRIAGE.ACTION.DEV.LBM.CH'")));
}

TEST_F(TriageInitialize, GivenOtherCharacters_WhenInitialized_ThenTheyStayAsTheyAre)
{
    variables.Set("CHEF_ENVIRONMENT", "p-1_\xe4 z");
    handler.Initialize();
    EXPECT_THAT(TopicsAskedFor(), ElementsAre(HasSubstr("'TRIAGE.ACTION.P-1_\xe4 Z.LBM'"), ::testing::_));
}

TEST_F(TriageInitialize, GivenEnvironmentOnly_WhenInitialized_ThenOneStatementAndNoEventQueue)
{
    handler.Initialize();
    EXPECT_THAT(log.statements(),
                ElementsAre(TriageStatement(QXLOG_INFO_SEARCH, 1305, "Initializing LbmTriageHandler")));
    EXPECT_THAT(transport.calls(), IsEmpty());
}

TEST_F(TriageInitialize, GivenEmptyUseEventQueue_WhenInitialized_ThenNoEventQueue)
{
    variables.Set("TRIAGE_HANDLER_USE_EVENT_QUEUE", "");
    handler.Initialize();
    EXPECT_THAT(transport.calls(), IsEmpty());
}

TEST_F(TriageInitialize, GivenNoEventQueue_WhenInitialized_ThenNoRetries)
{
    handler.Initialize();
    EXPECT_THAT(RetrySettings(), Settings(0, 0));
}

TEST_F(TriageInitialize, GivenEventQueue_WhenInitialized_ThenOneRetryAfter55Ms)
{
    variables.Set("TRIAGE_HANDLER_USE_EVENT_QUEUE", "0");
    handler.Initialize();
    EXPECT_THAT(RetrySettings(), Settings(1, 55));
}

TEST_F(TriageInitialize, GivenBothRetryVariablesAndEventQueue_WhenInitialized_ThenTheyReplaceTheDefaults)
{
    variables.Set("TRIAGE_HANDLER_USE_EVENT_QUEUE", "1");
    variables.Set("TRIAGE_HANDLER_MAX_RETRIES", "4");
    variables.Set("TRIAGE_HANDLER_TIME_BETWEEN_RETRIES_MS", "7");
    handler.Initialize();
    EXPECT_THAT(RetrySettings(), Settings(4, 7));
}

TEST_F(TriageInitialize, GivenNoInitialization_WhenAsked_ThenNoRetries)
{
    EXPECT_THAT(RetrySettings(), Settings(0, 0));
}

namespace {

struct AcceptedNumber {
    const char* text;
    int number;
};

class TriageRetryNumber : public TriageInitialize, public ::testing::WithParamInterface<AcceptedNumber> {};

class TriageRetryNonsense : public TriageInitialize, public ::testing::WithParamInterface<const char*> {};

} // namespace

TEST_P(TriageRetryNumber, GivenText_WhenMaxRetries_ThenItsNumberWithoutAWarning)
{
    variables.Set("TRIAGE_HANDLER_MAX_RETRIES", GetParam().text);
    handler.Initialize();
    EXPECT_THAT(log.texts(QXLOG_WARNING), IsEmpty());
    EXPECT_THAT(RetrySettings(), Settings(GetParam().number, 0));
}

TEST_P(TriageRetryNumber, GivenText_WhenTimeBetweenRetries_ThenItsNumberWithoutAWarning)
{
    variables.Set("TRIAGE_HANDLER_TIME_BETWEEN_RETRIES_MS", GetParam().text);
    handler.Initialize();
    EXPECT_THAT(log.texts(QXLOG_WARNING), IsEmpty());
    EXPECT_THAT(RetrySettings(), Settings(0, GetParam().number));
}

// Beyond an int, the lowest 32 bits count: 4294967299 is 2^32 + 3.
INSTANTIATE_TEST_SUITE_P(Texts, TriageRetryNumber,
                         ::testing::Values(AcceptedNumber{"3", 3}, AcceptedNumber{"3x", 3}, AcceptedNumber{"3.9", 3},
                                           AcceptedNumber{" \t\n5", 5}, AcceptedNumber{"+6", 6},
                                           AcceptedNumber{"-1", -1}, AcceptedNumber{" -250 ms", -250},
                                           AcceptedNumber{"007", 7}, AcceptedNumber{"0x10", 0},
                                           AcceptedNumber{"2147483647", std::numeric_limits<int>::max()},
                                           AcceptedNumber{"2147483648", std::numeric_limits<int>::min()},
                                           AcceptedNumber{"4294967299", 3}, AcceptedNumber{"9223372036854775807", -1},
                                           AcceptedNumber{"-9223372036854775808", 0}));

TEST_P(TriageRetryNonsense, GivenText_WhenMaxRetries_ThenWarningAndTheDefault)
{
    variables.Set("TRIAGE_HANDLER_MAX_RETRIES", GetParam());
    handler.Initialize();
    EXPECT_THAT(log.statements(),
                ElementsAre(::testing::_, TriageStatement(QXLOG_WARNING, 1338,
                                                          std::string("invalid value for TRIAGE_HANDLER_MAX_RETRIES=") +
                                                              GetParam() + " using default max_retries=0")));
    EXPECT_THAT(RetrySettings(), Settings(0, 0));
}

TEST_P(TriageRetryNonsense, GivenText_WhenTimeBetweenRetries_ThenWarningAndTheDefault)
{
    variables.Set("TRIAGE_HANDLER_TIME_BETWEEN_RETRIES_MS", GetParam());
    handler.Initialize();
    EXPECT_THAT(log.statements(),
                ElementsAre(::testing::_,
                            TriageStatement(QXLOG_WARNING, 1346,
                                            std::string("invalid value for TRIAGE_HANDLER_TIME_BETWEEN_RETRIES_MS=") +
                                                GetParam() + " using default time_between_retries_ms=0")));
    EXPECT_THAT(RetrySettings(), Settings(0, 0));
}

INSTANTIATE_TEST_SUITE_P(Texts, TriageRetryNonsense,
                         ::testing::Values("x", "x3", "-", "+", " ", "--1", "- 1", "9223372036854775808",
                                           "-9223372036854775809", "99999999999999999999"));

TEST_F(TriageInitialize, GivenNonsenseAndEventQueue_WhenInitialized_ThenTheWarningsNameItsDefaults)
{
    variables.Set("TRIAGE_HANDLER_USE_EVENT_QUEUE", "1");
    variables.Set("TRIAGE_HANDLER_MAX_RETRIES", "x");
    variables.Set("TRIAGE_HANDLER_TIME_BETWEEN_RETRIES_MS", "y");
    handler.Initialize();
    EXPECT_THAT(log.texts(QXLOG_WARNING),
                ElementsAre("invalid value for TRIAGE_HANDLER_MAX_RETRIES=x using default max_retries=1",
                            "invalid value for TRIAGE_HANDLER_TIME_BETWEEN_RETRIES_MS=y using default "
                            "time_between_retries_ms=55"));
    EXPECT_THAT(RetrySettings(), Settings(1, 55));
}

TEST_F(TriageInitialize, GivenErrorOfAnEarlierCall_WhenANumberIsRead_ThenItIsAcceptedAllTheSame)
{
    variables.Set("TRIAGE_HANDLER_MAX_RETRIES", "3");
    errno = ERANGE;
    handler.Initialize();
    EXPECT_THAT(RetrySettings(), Settings(3, 0));
}

TEST_F(TriageInitialize, GivenEmptyRetryVariables_WhenInitialized_ThenDefaultsWithoutAWarning)
{
    variables.Set("TRIAGE_HANDLER_MAX_RETRIES", "");
    variables.Set("TRIAGE_HANDLER_TIME_BETWEEN_RETRIES_MS", "");
    handler.Initialize();
    EXPECT_THAT(log.texts(QXLOG_WARNING), IsEmpty());
    EXPECT_THAT(RetrySettings(), Settings(0, 0));
}

namespace {

class TriageInitializeAboveWarning : public TriageInitialize {
protected:
    TriageInitializeAboveWarning()
        : TriageInitialize(QXLOG_WARNING + 1)
    {
    }
};

} // namespace

TEST_F(TriageInitializeAboveWarning, GivenNonsense_WhenInitialized_ThenDefaultsWithoutAWarning)
{
    variables.Set("TRIAGE_HANDLER_MAX_RETRIES", "x");
    variables.Set("TRIAGE_HANDLER_TIME_BETWEEN_RETRIES_MS", "x");
    handler.Initialize();
    EXPECT_THAT(log.texts(), IsEmpty());
    EXPECT_THAT(RetrySettings(), Settings(0, 0));
}
