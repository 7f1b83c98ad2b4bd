#include <optional>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>

#include <gmock/gmock.h>

#include <lbm/lbm_cpp.h>

#include "lbm/tests/statement.h"
#include "tests/doubles/captured_log.h"
#include "tests/doubles/lbm_double/lbm_double.h"

using namespace qx::logging;
using lbm::test::Statement;
using lbm::test::ThrownText;
using qx::test::Calls;
using qx::test::CapturedLog;
using qx::test::LbmDouble;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

static_assert(std::has_virtual_destructor_v<lbm::Context>);
static_assert(!std::is_copy_constructible_v<lbm::Context> && !std::is_copy_assignable_v<lbm::Context>);
static_assert(std::is_move_constructible_v<lbm::Context> && std::is_move_assignable_v<lbm::Context>);
static_assert(std::is_convertible_v<lbm::Context&, lbm_context_t*>);
static_assert(std::is_convertible_v<const lbm::Context&, const lbm_context_t*>);

namespace {

std::string HandleText(lbm::Context& context)
{
    std::ostringstream text;
    text << static_cast<const void*>(static_cast<lbm_context_t*>(context));
    return text.str();
}

/// What reaches standard output while `action` runs.
template <class Action>
std::string Printed(Action action)
{
    ::testing::internal::CaptureStdout();
    action();
    return ::testing::internal::GetCapturedStdout();
}

class Context : public ::testing::Test {
protected:
    LbmDouble transport;
    CapturedLog log;
};

} // namespace

TEST_F(Context, GivenAttributes_WhenMadeAndDestroyed_ThenCallsInOrder)
{
    const lbm::ContextAttributes attributes("Prices");
    transport.clear_calls();
    {
        const lbm::Context context(attributes);
    }
    EXPECT_EQ(transport.calls(),
              (Calls{"lbm_context_create(context_attr#1, null, null) = context#1",
                     "lbm_context_str_getopt(context#1, 'context_name', 1023)", "lbm_context_delete(context#1)"}));
}

TEST_F(Context, GivenAttributes_WhenMade_ThenOneSearchableStatementNamesHandleAndName)
{
    lbm::Context context(lbm::ContextAttributes("Prices"));
    EXPECT_THAT(log.statements(), ElementsAre(Statement(QXLOG_INFO_SEARCH, 616,
                                                        "Created LBM context=" + HandleText(context) +
                                                            " with attributes context_name=Prices")));
}

TEST_F(Context, GivenNoConfiguredName_WhenMade_ThenTheStatementEndsWithAnEmptyName)
{
    lbm::Context context;
    EXPECT_THAT(log.texts(),
                ElementsAre("Created LBM context=" + HandleText(context) + " with attributes context_name="));
}

TEST_F(Context, GivenNameWithNulInside_WhenMade_ThenNameEndsThere)
{
    transport.set_context_option("context_name", std::string("ab\0cd", 5));
    lbm::Context context;
    EXPECT_THAT(log.texts(), ElementsAre(::testing::EndsWith("context_name=ab")));
}

TEST(ContextLevels, GivenLevel17_WhenMade_ThenCreationIsLogged)
{
    LbmDouble transport;
    CapturedLog log(17);
    const lbm::Context context;
    EXPECT_EQ(log.texts().size(), 1U);
}

TEST(ContextLevels, GivenLevel18_WhenMade_ThenCreationIsNotLogged)
{
    LbmDouble transport;
    CapturedLog log(18);
    const lbm::Context context;
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(Context, GivenFailingCreate_WhenMade_ThenThrowsLoggedOnceAndNothingElseIsCalled)
{
    const lbm::ContextAttributes attributes;
    transport.clear_calls();
    transport.fail_next("lbm_context_create", LBM_EOS, "no sockets");
    EXPECT_EQ(ThrownText([&] { lbm::Context context(attributes); }), "Failed to create LBM context: no sockets");
    EXPECT_THAT(log.statements(), ElementsAre(Statement(QXLOG_ERROR, 65, "Failed to create LBM context: no sockets")));
    EXPECT_EQ(transport.calls(), (Calls{"lbm_context_create(context_attr#1, null, null) = -1"}));
}

TEST_F(Context, GivenFailingCreate_WhenMade_ThenNothingIsPrinted)
{
    transport.fail_next("lbm_context_create");
    EXPECT_EQ(Printed([] { EXPECT_THROW(lbm::Context(), lbm::LbmError); }), "");
}

TEST_F(Context, GivenUnreadableName_WhenMade_ThenErrorWarningAndAnEmptyName)
{
    transport.fail_next("lbm_context_str_getopt", LBM_EINVAL, "unknown option");
    lbm::Context context;
    EXPECT_THAT(
        log.statements(),
        ElementsAre(Statement(QXLOG_ERROR, 65, "Failed to get context string option: unknown option"),
                    Statement(QXLOG_WARNING, 613,
                              "Failed to get context name from context "
                              "Failed to get context string option: unknown option"),
                    Statement(QXLOG_INFO_SEARCH, 616,
                              "Created LBM context=" + HandleText(context) + " with attributes context_name=")));
}

TEST(ContextLevels, GivenLevelAboveWarning_WhenNameIsUnreadable_ThenOnlyTheErrorIsLogged)
{
    LbmDouble transport;
    CapturedLog log(QXLOG_WARNING + 1);
    transport.fail_next("lbm_context_str_getopt");
    const lbm::Context context;
    EXPECT_THAT(log.texts(), ElementsAre("Failed to get context string option: scripted"));
}

TEST(ContextLevels, GivenLevelWarning_WhenNameIsUnreadable_ThenTheWarningIsLogged)
{
    LbmDouble transport;
    CapturedLog log(20);
    transport.fail_next("lbm_context_str_getopt");
    const lbm::Context context;
    EXPECT_THAT(log.statements(), ElementsAre(::testing::_, Statement(QXLOG_WARNING, 613,
                                                                      "Failed to get context name from context Failed "
                                                                      "to get context string option: scripted")));
}

TEST_F(Context, GivenSuccessThatLeftTheNameAlone_WhenMade_ThenTheNameIsEmptyAndNothingElseIsLogged)
{
    transport.script_nth("lbm_context_str_getopt", 1, {.result = 1});
    lbm::Context context(lbm::ContextAttributes("Prices"));
    EXPECT_THAT(log.statements(), ElementsAre(Statement(QXLOG_INFO_SEARCH, 616,
                                                        "Created LBM context=" + HandleText(context) +
                                                            " with attributes context_name=")));
}

TEST_F(Context, GivenExceptionAfterCreation_WhenMade_ThenTheTransportContextIsReleased)
{
    transport.on_call("lbm_context_str_getopt", [] { throw std::bad_alloc(); });
    EXPECT_THROW(lbm::Context(), std::bad_alloc);
    EXPECT_THAT(transport.leaks(), IsEmpty());
}

TEST_F(Context, GivenName_WhenDestroyed_ThenPrintsHandleAndName)
{
    std::string handle;
    const auto printed = Printed([&] {
        lbm::Context context(lbm::ContextAttributes("Prices"));
        handle = HandleText(context);
    });
    EXPECT_EQ(printed, "Destroying LBM context=" + handle + " context_name=Prices\n");
}

TEST(ContextLevels, GivenLoggingOff_WhenDestroyed_ThenStillPrints)
{
    LbmDouble transport;
    CapturedLog log(QXLOG_WALL + 1);
    EXPECT_THAT(Printed([] { lbm::Context context; }), ::testing::StartsWith("Destroying LBM context="));
}

TEST_F(Context, GivenDestruction_WhenTheTransportContextIsDeleted_ThenTheLineWasAlreadyPrinted)
{
    std::string before;
    transport.on_call("lbm_context_delete", [&] { before = ::testing::internal::GetCapturedStdout(); });
    ::testing::internal::CaptureStdout();
    {
        const lbm::Context context;
    }
    EXPECT_THAT(before, ::testing::StartsWith("Destroying LBM context="));
}

TEST_F(Context, GivenFailingDelete_WhenDestroyed_ThenIgnored)
{
    std::optional<lbm::Context> context(std::in_place);
    log.clear();
    transport.fail_next("lbm_context_delete");
    EXPECT_NO_THROW(context.reset());
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(Context, GivenSuccessWithoutHandle_WhenDestroyed_ThenNothingIsDeleted)
{
    transport.script_nth("lbm_context_create", 1, {.result = LBM_OK, .withoutHandle = true});
    {
        const lbm::Context context;
    }
    EXPECT_THAT(transport.calls("lbm_context_delete"), IsEmpty());
}

TEST_F(Context, GivenMove_WhenBothDestroyed_ThenTheTransportContextIsDeletedOnce)
{
    {
        lbm::Context source(lbm::ContextAttributes("Prices"));
        const lbm::Context target(std::move(source));
        const lbm_context_t* left = source; // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move): the point
        EXPECT_EQ(left, nullptr);
    }
    EXPECT_THAT(transport.calls("lbm_context_delete"), ElementsAre("lbm_context_delete(context#1)"));
}

TEST_F(Context, GivenMovedFromContext_WhenDestroyed_ThenPrintsNoName)
{
    std::optional<lbm::Context> target;
    const auto printed = Printed([&] {
        lbm::Context source(lbm::ContextAttributes("Prices"));
        target.emplace(std::move(source));
    });
    EXPECT_EQ(printed, "Destroying LBM context=0 context_name=\n");
}

TEST_F(Context, GivenMoveAssignment_WhenAssigned_ThenTheTargetsOldContextIsDeleted)
{
    lbm::Context source;
    lbm::Context target;
    target = std::move(source);
    EXPECT_THAT(transport.calls("lbm_context_delete"), ElementsAre("lbm_context_delete(context#2)"));
}

TEST_F(Context, GivenMoveAssignment_WhenAssigned_ThenTheTargetsOldContextPrintsItsLine)
{
    lbm::Context source;
    lbm::Context target(lbm::ContextAttributes("Prices"));
    const auto handle = HandleText(target);
    EXPECT_EQ(Printed([&] { target = std::move(source); }),
              "Destroying LBM context=" + handle + " context_name=Prices\n");
}

TEST_F(Context, GivenMoveAssignment_WhenAssigned_ThenTheTargetHasHandleAndNameOfTheSource)
{
    lbm::Context source(lbm::ContextAttributes("Prices"));
    const auto handle = HandleText(source);
    const auto printed = Printed([&] {
        {
            lbm::Context target;
            target = std::move(source);
            EXPECT_EQ(HandleText(target), handle);
        }
    });
    EXPECT_THAT(printed, ::testing::EndsWith("Destroying LBM context=" + handle + " context_name=Prices\n"));
}

TEST_F(Context, GivenMoveAssignmentToItself_WhenAssigned_ThenItKeepsItsContext)
{
    lbm::Context context;
    const auto handle = HandleText(context);
    auto& same = context;
    context = std::move(same);
    EXPECT_EQ(HandleText(context), handle);
    EXPECT_THAT(transport.calls("lbm_context_delete"), IsEmpty());
}

TEST_F(Context, GivenName_WhenMadeFromIt_ThenItsConfigurationIsUsedAndReleased)
{
    const lbm::Context context("Prices");
    EXPECT_EQ(transport.calls(), (Calls{"lbm_context_attr_create_from_xml('Prices') = context_attr#1",
                                        "lbm_context_create(context_attr#1, null, null) = context#1",
                                        "lbm_context_str_getopt(context#1, 'context_name', 1023)",
                                        "lbm_context_attr_delete(context_attr#1)"}));
}

TEST_F(Context, GivenTime_WhenPolled_ThenPassedOnAndResultReturned)
{
    lbm::Context context;
    transport.script_nth("lbm_context_process_events", 1, {.result = 3});
    EXPECT_EQ(context.Poll(250), 3);
    EXPECT_THAT(transport.calls("lbm_context_process"), ElementsAre("lbm_context_process_events(context#1, 250) = 3"));
}

TEST_F(Context, GivenFailure_WhenPolled_ThenThrows)
{
    lbm::Context context;
    transport.fail_next("lbm_context_process_events");
    EXPECT_EQ(ThrownText([&] { context.Poll(1); }), "Failed to process LBM context events: scripted");
}

TEST_F(Context, GivenContext_WhenUnblocked_ThenPassedOn)
{
    lbm::Context context;
    EXPECT_EQ(context.Unblock(), 0);
    EXPECT_THAT(transport.calls("lbm_context_unblock"), ElementsAre("lbm_context_unblock(context#1)"));
}

TEST_F(Context, GivenFailure_WhenUnblocked_ThenThrows)
{
    lbm::Context context;
    transport.fail_next("lbm_context_unblock");
    EXPECT_EQ(ThrownText([&] { context.Unblock(); }), "Failed to unblock LBM context: scripted");
}

TEST_F(Context, GivenOption_WhenRead_ThenItsText)
{
    transport.set_context_option("some_option", "value");
    const lbm::Context context;
    EXPECT_EQ(context.GetStrOpt("some_option"), "value");
}

TEST_F(Context, GivenLongestText_WhenRead_ThenWholeAndOneByteMoreIsAFailure)
{
    transport.set_context_option("fits", std::string(1022, 'x'));
    transport.set_context_option("too_long", std::string(1023, 'x'));
    const lbm::Context context;
    EXPECT_EQ(context.GetStrOpt("fits"), std::string(1022, 'x'));
    EXPECT_THROW(context.GetStrOpt("too_long"), lbm::LbmError);
}

TEST_F(Context, GivenUnknownOption_WhenRead_ThenThrows)
{
    const lbm::Context context;
    EXPECT_EQ(ThrownText([&] { context.GetStrOpt("nonsense"); }),
              "Failed to get context string option: no such option");
}
