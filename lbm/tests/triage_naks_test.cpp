#include <deque>
#include <string>
#include <vector>

#include "lbm/tests/platform_calls.h"
#include "lbm/tests/triage_fixture.h"

using namespace qx::logging;
using lbm::test::TriageLine;
using qx::test::CapturedStatement;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;

namespace {

constexpr const char* enableFailed =
    "Failed to enable NAKs. This feature is available in LBM versions 6.16.1 and above";
constexpr const char* disableFailed =
    "Failed to disable NAKs. This feature is available in LBM versions 6.16.1 and above";

class TriageNaks : public lbm::test::TriageTest {
protected:
    explicit TriageNaks(std::int32_t minLevel = QXLOG_DEBUG)
        : TriageTest(minLevel)
    {
        handler.Initialize();
        log.clear();
    }

    void Register(const std::vector<std::string>& names)
    {
        for (const auto& name : names) {
            handler.registerContext(name, &contexts.emplace_back());
        }
        log.clear();
        transport.clear_calls();
    }

    std::size_t Switched(const std::string& selector)
    {
        log.clear();
        handler.toggleNaks(false, selector);
        return log.texts(QXLOG_ERROR).size();
    }

    std::deque<lbm::Context> contexts;
    lbm::LbmTriageHandler handler; ///< gone before the contexts
};

class TriageNaksAboveSearch : public TriageNaks {
protected:
    TriageNaksAboveSearch()
        : TriageNaks(QXLOG_INFO_SEARCH + 1)
    {
    }
};

class TriageNaksAboveError : public TriageNaks {
protected:
    TriageNaksAboveError()
        : TriageNaks(QXLOG_ERROR + 1)
    {
    }
};

auto WrapperError(const std::string& text)
{
    return AllOf(Field(&CapturedStatement::level, QXLOG_ERROR), Field(&CapturedStatement::source, ""),
                 Field(&CapturedStatement::text, text));
}

} // namespace

TEST_F(TriageNaks, GivenThreeContexts_WhenAllAreDisabled_ThenBeginThreeErrorsAndEnd)
{
    Register({"a", "", "b"});
    handler.toggleNaks(false, "ALL");
    EXPECT_THAT(
        log.statements(),
        ElementsAre(TriageLine(QXLOG_INFO_SEARCH, "begin toggling NAKs for contexts matching ALL enable_naks=0"),
                    WrapperError(disableFailed), WrapperError(disableFailed), WrapperError(disableFailed),
                    TriageLine(QXLOG_INFO_SEARCH, "end toggling NAKs for contexts matching ALL enable_naks=0")));
}

TEST_F(TriageNaks, GivenContext_WhenEnabled_ThenTheFlagReadsOneAndTheOtherTextIsUsed)
{
    Register({"a"});
    handler.toggleNaks(true, "a");
    EXPECT_THAT(log.texts(), ElementsAre("begin toggling NAKs for contexts matching a enable_naks=1", enableFailed,
                                         "end toggling NAKs for contexts matching a enable_naks=1"));
}

TEST_F(TriageNaks, GivenContexts_WhenSwitched_ThenTheTransportIsNotCalled)
{
    Register({"a", "b"});
    handler.toggleNaks(true, "ALL");
    EXPECT_THAT(transport.calls(), IsEmpty());
}

TEST_F(TriageNaks, GivenNoContexts_WhenAllAreSwitched_ThenBeginAndEndOnly)
{
    handler.toggleNaks(true, "ALL");
    EXPECT_THAT(log.texts(), ElementsAre(::testing::StartsWith("begin "), ::testing::StartsWith("end ")));
}

TEST_F(TriageNaks, GivenSelectorThatMatchesNothing_WhenSwitched_ThenBeginAndEndOnly)
{
    Register({"a"});
    handler.toggleNaks(true, "unknown");
    EXPECT_THAT(log.texts(), ElementsAre("begin toggling NAKs for contexts matching unknown enable_naks=1",
                                         "end toggling NAKs for contexts matching unknown enable_naks=1"));
}

TEST_F(TriageNaks, GivenContextNamedUnknown_WhenThatIsSelected_ThenItIsSwitched)
{
    Register({"UnknownThing"});
    EXPECT_EQ(Switched("unknown"), 1U);
}

TEST_F(TriageNaks, GivenLowerCaseAll_WhenSelected_ThenItIsAnOrdinarySubstring)
{
    Register({"smallctx", "Prices", ""});
    EXPECT_EQ(Switched("all"), 1U);
    EXPECT_EQ(Switched("All"), 1U);
    EXPECT_EQ(Switched("ALL"), 3U);
}

TEST_F(TriageNaks, GivenEmptySelector_WhenSelected_ThenOnlyContextsWithoutAName)
{
    Register({"a", "", " "});
    EXPECT_EQ(Switched(""), 1U);
}

TEST_F(TriageNaks, GivenOnlyNamedContexts_WhenTheEmptySelectorIsUsed_ThenNone)
{
    Register({"a", "b"});
    EXPECT_EQ(Switched(""), 0U);
}

TEST_F(TriageNaks, GivenSubstring_WhenSelected_ThenInAnyLetterCaseAndAnyPlace)
{
    Register({"PriceEnvironment-1", "my.PRICEENVIRONMENT", "priceenvironmen", "Price Environment", ""});
    EXPECT_EQ(Switched("priceenvironment"), 2U);
    EXPECT_EQ(Switched("PRICEENVIRONMENT"), 2U);
}

TEST_F(TriageNaks, GivenSelectorLongerThanTheName_WhenSelected_ThenNoMatch)
{
    Register({"QX"});
    EXPECT_EQ(Switched("QXNOTIFY"), 0U);
}

TEST_F(TriageNaks, GivenSelector_WhenLogged_ThenItStandsAsItWasGiven)
{
    handler.toggleNaks(false, "MiXed");
    EXPECT_THAT(log.texts(), ElementsAre("begin toggling NAKs for contexts matching MiXed enable_naks=0",
                                         "end toggling NAKs for contexts matching MiXed enable_naks=0"));
}

// That they are switched in the order of their registration cannot be seen: a context that cannot be switched says so
// without saying which it is, and calls nothing.
TEST_F(TriageNaks, GivenTwoContextsOfOneName_WhenSelected_ThenBothAreSwitched)
{
    Register({"Prices", "Prices", "Other"});
    EXPECT_EQ(Switched("prices"), 2U);
}

TEST_F(TriageNaks, GivenContexts_WhenSwitched_ThenTheLockIsHeldUntilTheEndLineIsWritten)
{
    Register({"a", "b"});
    std::vector<std::size_t> linesAtUnlock;
    const lbm::test::UnlockWatch watch(handler, [&] { linesAtUnlock.push_back(log.texts().size()); });
    handler.toggleNaks(true, "ALL");
    EXPECT_THAT(linesAtUnlock, ElementsAre(4U));
}

TEST_F(TriageNaks, GivenContext_WhenSwitchedDirectly_ThenMinusOneAndOneErrorEach)
{
    lbm::Context context;
    log.clear();
    EXPECT_EQ(context.EnableNAKs(), -1);
    EXPECT_EQ(context.DisableNAKs(), -1);
    EXPECT_THAT(log.statements(), ElementsAre(WrapperError(enableFailed), WrapperError(disableFailed)));
}

TEST_F(TriageNaksAboveSearch, GivenContext_WhenSwitched_ThenOnlyItsError)
{
    Register({"a"});
    handler.toggleNaks(false, "a");
    EXPECT_THAT(log.texts(), ElementsAre(disableFailed));
}

TEST_F(TriageNaksAboveError, GivenContext_WhenSwitched_ThenMinusOneWithoutALine)
{
    lbm::Context context;
    EXPECT_EQ(context.EnableNAKs(), -1);
    EXPECT_EQ(context.DisableNAKs(), -1);
    EXPECT_THAT(log.texts(), IsEmpty());
}
