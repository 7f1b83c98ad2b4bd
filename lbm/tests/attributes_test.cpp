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

namespace {

struct ContextCase {
    using Holder = lbm::ContextAttributes;
    using Handle = lbm_context_attr_t*;
    static constexpr const char* functions = "lbm_context_attr";
    static constexpr const char* kind = "context_attr";
    static constexpr const char* what = "LBM context attributes";
    static constexpr const char* setFailure = "Failed to set LBM context attribute";
};
struct EventQueueCase {
    using Holder = lbm::EventQueueAttributes;
    using Handle = lbm_event_queue_attr_t*;
    static constexpr const char* functions = "lbm_event_queue_attr";
    static constexpr const char* kind = "event_queue_attr";
    static constexpr const char* what = "LBM event queue attributes";
    static constexpr const char* setFailure = "Failed to set LBM event queue attribute";
};
struct ReceiverTopicCase {
    using Holder = lbm::ReceiverTopicAttributes;
    using Handle = lbm_rcv_topic_attr_t*;
    static constexpr const char* functions = "lbm_rcv_topic_attr";
    static constexpr const char* kind = "rcv_topic_attr";
    static constexpr const char* what = "LBM receiver topic attributes";
    static constexpr const char* setFailure = "Failed to set LBM receiver topic attribute";
};
struct WildcardReceiverCase {
    using Holder = lbm::WildcardReceiverAttributes;
    using Handle = lbm_wildcard_rcv_attr_t*;
    static constexpr const char* functions = "lbm_wildcard_rcv_attr";
    static constexpr const char* kind = "wildcard_rcv_attr";
    static constexpr const char* what = "LBM wildcard receiver attributes";
    static constexpr const char* setFailure = "Failed to set LBM wildcard receiver attribute";
};

template <class Case>
class AttributeHolder : public ::testing::Test {
protected:
    std::string fn(const std::string& suffix) const { return Case::functions + suffix; }
    std::string created(int n) const { return fn("_create() = ") + name(n); }
    std::string duplicated(int from, int to) const { return fn("_dup(") + name(from) + ") = " + name(to); }
    std::string deleted(int n) const { return fn("_delete(") + name(n) + ")"; }
    std::string name(int n) const { return Case::kind + ("#" + std::to_string(n)); }
    std::string failedTo(const std::string& verb) const
    {
        return "Failed to " + verb + " " + Case::what + ": scripted";
    }

    LbmDouble transport;
    CapturedLog log;
};

using Cases = ::testing::Types<ContextCase, EventQueueCase, ReceiverTopicCase, WildcardReceiverCase>;
TYPED_TEST_SUITE(AttributeHolder, Cases, lbm::test::KindNames);

} // namespace

TYPED_TEST(AttributeHolder, IsPolymorphicWithOneHandleAndConvertsToIt)
{
    using Holder = typename TypeParam::Holder;
    static_assert(std::has_virtual_destructor_v<Holder>);
    static_assert(sizeof(Holder) == 2 * sizeof(void*));
    static_assert(std::is_convertible_v<Holder&, typename TypeParam::Handle>);
    static_assert(
        std::is_convertible_v<const Holder&,
                              std::add_pointer_t<std::add_const_t<std::remove_pointer_t<typename TypeParam::Handle>>>>);
    static_assert(std::is_nothrow_move_constructible_v<Holder> && std::is_nothrow_move_assignable_v<Holder>);
}

TYPED_TEST(AttributeHolder, GivenNothing_WhenMadeAndDestroyed_ThenCreatedAndDeletedOnce)
{
    {
        const typename TypeParam::Holder holder;
    }
    EXPECT_THAT(this->transport.calls(), ElementsAre(this->created(1), this->deleted(1)));
    EXPECT_THAT(this->log.texts(), IsEmpty());
}

TYPED_TEST(AttributeHolder, GivenFailingCreate_WhenMade_ThenThrowsAndDeletesNothing)
{
    this->transport.fail_next(this->fn("_create"));
    EXPECT_EQ(ThrownText([] { typename TypeParam::Holder holder; }), this->failedTo("create"));
    EXPECT_THAT(this->log.statements(), ElementsAre(Statement(QXLOG_ERROR, 65, this->failedTo("create"))));
    EXPECT_EQ(this->transport.calls().size(), 1U);
}

TYPED_TEST(AttributeHolder, GivenResultOtherThanMinusOne_WhenMade_ThenCountsAsSuccess)
{
    this->transport.script_nth(this->fn("_create"), 1, {.result = -2});
    EXPECT_NO_THROW({ const typename TypeParam::Holder holder; });
    EXPECT_THAT(this->transport.leaks(), IsEmpty());
}

TYPED_TEST(AttributeHolder, GivenFailingDelete_WhenDestroyed_ThenLoggedNotThrown)
{
    this->transport.fail_next(this->fn("_delete"));
    {
        const typename TypeParam::Holder holder;
    }
    EXPECT_THAT(this->log.statements(), ElementsAre(Statement(QXLOG_ERROR, 71, this->failedTo("delete"))));
}

TYPED_TEST(AttributeHolder, GivenDeleteResultOtherThanMinusOne_WhenDestroyed_ThenNothingIsLogged)
{
    this->transport.script_nth(this->fn("_delete"), 1, {.result = 1});
    {
        const typename TypeParam::Holder holder;
    }
    EXPECT_THAT(this->log.texts(), IsEmpty());
}

TYPED_TEST(AttributeHolder, GivenCopy_WhenBothDestroyed_ThenTheTransportDuplicatedAndEachIsDeleted)
{
    {
        const typename TypeParam::Holder original;
        // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): copying is what is tested
        const typename TypeParam::Holder copy(original);
    }
    EXPECT_THAT(this->transport.calls(),
                ElementsAre(this->created(1), this->duplicated(1, 2), this->deleted(2), this->deleted(1)));
}

TYPED_TEST(AttributeHolder, GivenFailingDuplicate_WhenCopied_ThenThrows)
{
    const typename TypeParam::Holder original;
    this->transport.fail_next(this->fn("_dup"));
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): copying is what is tested
    EXPECT_EQ(ThrownText([&] { typename TypeParam::Holder copy(original); }), this->failedTo("duplicate"));
}

TYPED_TEST(AttributeHolder, GivenAssignedCopy_WhenAssigned_ThenTheOldHandleIsDeletedAfterwards)
{
    const typename TypeParam::Holder original;
    typename TypeParam::Holder target;
    this->transport.clear_calls();
    target = original;
    EXPECT_THAT(this->transport.calls(), ElementsAre(this->duplicated(1, 3), this->deleted(2)));
}

TYPED_TEST(AttributeHolder, GivenDuplicateResultOtherThanMinusOne_WhenCopied_ThenCountsAsSuccess)
{
    const typename TypeParam::Holder original;
    this->transport.script_nth(this->fn("_dup"), 1, {.result = 1});
    typename TypeParam::Holder copy(original);
    EXPECT_NE(static_cast<typename TypeParam::Handle>(copy), nullptr);
}

TYPED_TEST(AttributeHolder, GivenCopyAssignmentToItself_WhenAssigned_ThenItHoldsADuplicateOfWhatItHeld)
{
    typename TypeParam::Holder holder;
    const auto& same = holder;
    this->transport.clear_calls();
    holder = same;
    EXPECT_THAT(this->transport.calls(), ElementsAre(this->duplicated(1, 2), this->deleted(1)));
}

TYPED_TEST(AttributeHolder, GivenMovedFromHolder_WhenAssignedFrom_ThenTheTargetIsNullAndItsOldHandleDeleted)
{
    typename TypeParam::Holder source;
    const typename TypeParam::Holder taken(std::move(source));
    typename TypeParam::Holder target;
    this->transport.clear_calls();
    target = source; // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move): the point
    EXPECT_EQ(static_cast<typename TypeParam::Handle>(target), nullptr);
    EXPECT_THAT(this->transport.calls(), ElementsAre(this->deleted(2)));
}

TYPED_TEST(AttributeHolder, GivenFailingDuplicate_WhenAssigned_ThenTheTargetKeepsItsHandle)
{
    const typename TypeParam::Holder original;
    typename TypeParam::Holder target;
    typename TypeParam::Handle before = target;
    this->transport.fail_next(this->fn("_dup"));
    EXPECT_THROW(target = original, lbm::LbmError);
    EXPECT_EQ(static_cast<typename TypeParam::Handle>(target), before);
}

TYPED_TEST(AttributeHolder, GivenMove_WhenBothDestroyed_ThenTheSourceIsNullAndOneHandleIsDeleted)
{
    {
        typename TypeParam::Holder source;
        const typename TypeParam::Holder target(std::move(source));
        const typename TypeParam::Handle left =
            source; // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move): the point
        EXPECT_EQ(left, nullptr);
    }
    EXPECT_THAT(this->transport.calls(), ElementsAre(this->created(1), this->deleted(1)));
}

TYPED_TEST(AttributeHolder, GivenMoveAssignment_WhenAssigned_ThenTheTargetsOldHandleIsDeleted)
{
    typename TypeParam::Holder source;
    typename TypeParam::Holder target;
    this->transport.clear_calls();
    target = std::move(source);
    EXPECT_THAT(this->transport.calls(), ElementsAre(this->deleted(2)));
}

TYPED_TEST(AttributeHolder, GivenMovedFromHolder_WhenCopied_ThenTheCopyIsNullWithoutACall)
{
    typename TypeParam::Holder source;
    const typename TypeParam::Holder target(std::move(source));
    this->transport.clear_calls();
    typename TypeParam::Holder copy(source); // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move): the point
    EXPECT_EQ(static_cast<typename TypeParam::Handle>(copy), nullptr);
    EXPECT_THAT(this->transport.calls(), IsEmpty());
}

TYPED_TEST(AttributeHolder, GivenOption_WhenSetAsString_ThenPassedOn)
{
    typename TypeParam::Holder holder;
    this->transport.clear_calls();
    holder.SetString("some_option", "value");
    EXPECT_THAT(this->transport.calls(),
                ElementsAre(this->fn("_str_setopt(") + this->name(1) + ", 'some_option', 'value')"));
}

TYPED_TEST(AttributeHolder, GivenFailingSetter_WhenSetAsString_ThenThrows)
{
    typename TypeParam::Holder holder;
    this->transport.fail_next(this->fn("_str_setopt"), LBM_EINVAL, "bad value");
    EXPECT_EQ(ThrownText([&] { holder.SetString("option", "x"); }), TypeParam::setFailure + std::string(": bad value"));
}

TEST(ContextAttributes, GivenContextName_WhenMade_ThenReadFromTheXmlConfiguration)
{
    LbmDouble transport;
    {
        const lbm::ContextAttributes attributes("Some Context");
    }
    EXPECT_EQ(transport.calls(), (Calls{"lbm_context_attr_create_from_xml('Some Context') = context_attr#1",
                                        "lbm_context_attr_delete(context_attr#1)"}));
}

TEST(ContextAttributes, GivenFailingConfiguration_WhenMade_ThenThrows)
{
    LbmDouble transport;
    CapturedLog log;
    transport.fail_next("lbm_context_attr_create_from_xml", LBM_ENO_CONFIG, "no such context");
    EXPECT_EQ(ThrownText([] { lbm::ContextAttributes attributes("X"); }),
              "Failed to create LBM context attributes: no such context");
    EXPECT_THAT(log.statements(),
                ElementsAre(Statement(QXLOG_ERROR, 65, "Failed to create LBM context attributes: no such context")));
}

TEST(ContextAttributes, GivenSetOption_WhenReadBack_ThenSameText)
{
    LbmDouble transport;
    lbm::ContextAttributes attributes;
    attributes.SetString("option", "value");
    EXPECT_EQ(attributes.GetString("option"), "value");
}

TEST(ContextAttributes, GivenLongestText_WhenReadBack_ThenWholeAndOneByteMoreIsAFailure)
{
    LbmDouble transport;
    lbm::ContextAttributes attributes;
    attributes.SetString("fits", std::string(1022, 'x').c_str());
    EXPECT_EQ(attributes.GetString("fits").size(), 1022U);
    attributes.SetString("too_long", std::string(1023, 'x').c_str());
    EXPECT_THROW(attributes.GetString("too_long"), lbm::LbmError);
}

TEST(ContextAttributes, GivenUnknownOption_WhenReadBack_ThenThrows)
{
    LbmDouble transport;
    const lbm::ContextAttributes attributes;
    EXPECT_EQ(ThrownText([&] { attributes.GetString("nonsense"); }),
              "Failed to get LBM context attribute: no such option");
}

TEST(EventQueueAttributes, GivenIntOption_WhenSet_ThenPassedByAddressWithItsSize)
{
    LbmDouble transport;
    lbm::EventQueueAttributes attributes;
    attributes.Set<int>("option", -7);
    EXPECT_THAT(transport.calls("lbm_event_queue_attr_setopt"),
                ElementsAre("lbm_event_queue_attr_setopt(event_queue_attr#1, 'option', -7, 4)"));
}

TEST(EventQueueAttributes, GivenFailingSetter_WhenIntOptionSet_ThenTheTextSpeaksOfATopic)
{
    LbmDouble transport;
    CapturedLog log;
    lbm::EventQueueAttributes attributes;
    transport.fail_next("lbm_event_queue_attr_setopt");
    EXPECT_EQ(ThrownText([&] { attributes.Set<int>("option", 1); }), "Failed to set LBM topic attribute: scripted");
    EXPECT_THAT(log.statements(),
                ElementsAre(Statement(QXLOG_ERROR, 65, "Failed to set LBM topic attribute: scripted")));
}
