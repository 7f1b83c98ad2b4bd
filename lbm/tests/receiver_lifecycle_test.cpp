// Making and destroying receivers. Plain and wildcard receivers keep the same rules, so most cases run on both.
#include <memory>
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
using qx::test::Calls;
using qx::test::CapturedLog;
using qx::test::LbmDouble;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

static_assert(std::is_abstract_v<lbm::BaseReceiver> && std::has_virtual_destructor_v<lbm::BaseReceiver>);
static_assert(std::is_same_v<lbm::Receiver::Callback, std::function<void(lbm::Message)>>);
static_assert(std::is_same_v<lbm::WildcardReceiver::Callback, lbm::Receiver::Callback>);

namespace {

struct PlainCase {
    using Receiver = lbm::Receiver;
    using Handle = lbm_rcv_t;
    static constexpr const char* kind = "rcv";
    static constexpr const char* functions = "lbm_rcv_";
    static constexpr const char* creating = "Creating receiver on topic=A.B";
    static constexpr const char* deleting = "Deleting receiver on topic=A.B";
    static constexpr int creatingLine = 1147;
    static constexpr int deletingLine = 1162;
    static constexpr const char* setFailure = "Failed to set LBM receiver option: scripted";

    static auto make(lbm::Context& context, Receiver::Callback callback, lbm::EventQueue* queue)
    {
        return std::make_unique<Receiver>(context, lbm::ReceiverTopic(context, "A.B"), std::move(callback), queue);
    }
    static std::string createCall(const std::string& queue)
    {
        return "lbm_rcv_create(context#1, topic#1, callback, clientd, " + queue + ")";
    }
};

struct WildcardCase {
    using Receiver = lbm::WildcardReceiver;
    using Handle = lbm_wildcard_rcv_t;
    static constexpr const char* kind = "wildcard_rcv";
    static constexpr const char* functions = "lbm_wildcard_rcv_";
    static constexpr const char* creating = "Creating wildcard receiver on topic=A.B";
    static constexpr const char* deleting = "Deleting wildcard receiver on topic=A.B";
    static constexpr int creatingLine = 1686;
    static constexpr int deletingLine = 1701;
    static constexpr const char* setFailure = "Failed to set LBM wildcard receiver option: scripted";

    static auto make(lbm::Context& context, Receiver::Callback callback, lbm::EventQueue* queue)
    {
        return std::make_unique<Receiver>(context, "A.B", std::move(callback), queue, lbm::ReceiverTopicAttributes(),
                                          lbm::WildcardReceiverAttributes());
    }
    static std::string createCall(const std::string& queue)
    {
        return "lbm_wildcard_rcv_create(context#1, 'A.B', rcv_topic_attr#1, wildcard_rcv_attr#1, callback, clientd, " +
               queue + ")";
    }
};

/// A callback that leaves a trace when it is destroyed.
class TracedCallback {
public:
    explicit TracedCallback(LbmDouble& transport)
        : m_trace(std::shared_ptr<void>(nullptr, [&transport](void*) { transport.note("callback destroyed"); }))
    {
    }
    void operator()(const lbm::Message&) const {}

private:
    std::shared_ptr<void> m_trace;
};

template <class Case>
class ReceiverLifecycle : public ::testing::Test {
protected:
    auto make(lbm::Receiver::Callback callback = {}, lbm::EventQueue* queue = nullptr)
    {
        return Case::make(context, std::move(callback), queue);
    }
    std::string fn(const std::string& suffix) const { return Case::functions + suffix; }
    std::string name() const { return Case::kind + std::string("#1"); }

    LbmDouble transport;
    CapturedLog log;
    lbm::Context context;
};

using Cases = ::testing::Types<PlainCase, WildcardCase>;
TYPED_TEST_SUITE(ReceiverLifecycle, Cases, lbm::test::KindNames);

} // namespace

TYPED_TEST(ReceiverLifecycle, CannotBeCopiedOrMovedAndConvertsToItsHandle)
{
    using Receiver = typename TypeParam::Receiver;
    static_assert(std::is_base_of_v<lbm::BaseReceiver, Receiver>);
    static_assert(!std::is_copy_constructible_v<Receiver> && !std::is_copy_assignable_v<Receiver>);
    static_assert(!std::is_move_constructible_v<Receiver> && !std::is_move_assignable_v<Receiver>);
    static_assert(std::is_convertible_v<Receiver&, typename TypeParam::Handle*>);
    static_assert(std::is_convertible_v<const Receiver&, const typename TypeParam::Handle*>);
}

TYPED_TEST(ReceiverLifecycle, GivenNoQueue_WhenMade_ThenTheTransportIsGivenNone)
{
    const auto receiver = this->make();
    EXPECT_THAT(this->transport.calls(this->fn("create(")),
                ElementsAre(TypeParam::createCall("null") + " = " + this->name()));
}

TYPED_TEST(ReceiverLifecycle, GivenQueue_WhenMade_ThenTheTransportIsGivenItsHandle)
{
    lbm::EventQueue queue;
    const auto receiver = this->make({}, &queue);
    EXPECT_THAT(this->transport.calls(this->fn("create(")),
                ElementsAre(TypeParam::createCall("event_queue#1") + " = " + this->name()));
}

TYPED_TEST(ReceiverLifecycle, GivenTopic_WhenMadeAndDestroyed_ThenBothStatementsNameIt)
{
    this->log.clear();
    this->make();
    EXPECT_THAT(this->log.statements(),
                ElementsAre(Statement(QXLOG_INFO, TypeParam::creatingLine, TypeParam::creating),
                            Statement(QXLOG_INFO, TypeParam::deletingLine, TypeParam::deleting)));
}

TYPED_TEST(ReceiverLifecycle, GivenLevelAboveInfo_WhenMadeAndDestroyed_ThenNothingIsLogged)
{
    const CapturedLog quiet(QXLOG_INFO + 1);
    this->make();
    EXPECT_THAT(quiet.texts(), IsEmpty());
}

TYPED_TEST(ReceiverLifecycle, GivenLevelInfo_WhenMadeAndDestroyed_ThenBothStatementsAreLogged)
{
    const CapturedLog exact(10);
    this->make();
    EXPECT_THAT(exact.texts(), ElementsAre(TypeParam::creating, TypeParam::deleting));
}

TYPED_TEST(ReceiverLifecycle, GivenCreation_WhenTheTransportIsCalled_ThenTheStatementWasAlreadyWritten)
{
    std::vector<std::string> before;
    this->log.clear();
    this->transport.on_call(this->fn("create"), [&] { before = this->log.texts(); });
    const auto receiver = this->make();
    EXPECT_THAT(before, ElementsAre(TypeParam::creating));
}

TYPED_TEST(ReceiverLifecycle, GivenFailingCreate_WhenMade_ThenThrowsAndNothingIsDeleted)
{
    this->log.clear();
    this->transport.fail_next(this->fn("create"), LBM_EOP, "shut down");
    EXPECT_EQ(ThrownText([&] { this->make(); }), "Failed to create LBM receiver: shut down");
    EXPECT_THAT(this->log.statements(),
                ElementsAre(Statement(QXLOG_INFO, TypeParam::creatingLine, TypeParam::creating),
                            Statement(QXLOG_ERROR, 65, "Failed to create LBM receiver: shut down")));
    EXPECT_THAT(this->transport.calls(this->fn("delete(")), IsEmpty());
}

TYPED_TEST(ReceiverLifecycle, GivenResultOtherThanMinusOne_WhenMade_ThenCountsAsSuccess)
{
    this->transport.script_nth(this->fn("create"), 1, {.result = 1});
    EXPECT_NE(static_cast<typename TypeParam::Handle*>(*this->make()), nullptr);
}

TYPED_TEST(ReceiverLifecycle, GivenDestruction_WhenTheTransportIsCalled_ThenTheStatementWasAlreadyWritten)
{
    std::vector<std::string> before;
    auto receiver = this->make();
    this->log.clear();
    this->transport.on_call(this->fn("delete"), [&] { before = this->log.texts(); });
    receiver.reset();
    EXPECT_THAT(before, ElementsAre(TypeParam::deleting));
}

TYPED_TEST(ReceiverLifecycle, GivenDestruction_WhenDone_ThenTheCallbackOutlivedTheTransportsReceiver)
{
    auto receiver = this->make(TracedCallback(this->transport));
    this->transport.clear_calls();
    receiver.reset();
    EXPECT_EQ(this->transport.calls(), (Calls{this->fn("delete(") + this->name() + ")", "callback destroyed"}));
}

TYPED_TEST(ReceiverLifecycle, GivenDestruction_WhenTheTransportIsCalled_ThenTheCallbackStillWorks)
{
    int ran = 0;
    auto receiver = this->make([&](const lbm::Message&) { ++ran; });
    lbm_msg_t* msg = this->transport.make_message();
    this->transport.on_call(this->fn("delete"), [&] { this->transport.deliver("A.B", msg); });
    receiver.reset();
    EXPECT_EQ(ran, 1);
}

TYPED_TEST(ReceiverLifecycle, GivenDestruction_WhenTheTransportIsCalled_ThenTheReceiverStillHasItsHandle)
{
    auto receiver = this->make();
    auto& dying = *receiver;
    const typename TypeParam::Handle* const handle = dying;
    const typename TypeParam::Handle* during = nullptr;
    this->transport.on_call(this->fn("delete"), [&] { during = dying; });
    receiver.reset();
    EXPECT_EQ(during, handle);
}

TYPED_TEST(ReceiverLifecycle, GivenSuccessWithoutHandle_WhenDestroyed_ThenDeletedAllTheSame)
{
    this->transport.script_nth(this->fn("create"), 1, {.result = LBM_OK, .withoutHandle = true});
    this->make();
    EXPECT_THAT(this->transport.calls(this->fn("delete(")), ElementsAre(this->fn("delete(null) = -1")));
}

TYPED_TEST(ReceiverLifecycle, GivenFailingDelete_WhenDestroyed_ThenIgnored)
{
    this->transport.fail_next(this->fn("delete"));
    this->make();
    EXPECT_THAT(this->log.texts(QXLOG_ERROR), IsEmpty());
}

TYPED_TEST(ReceiverLifecycle, GivenFailingCreate_WhenMade_ThenTheCallbackIsDestroyed)
{
    this->transport.fail_next(this->fn("create"));
    EXPECT_THROW(this->make(TracedCallback(this->transport)), lbm::LbmError);
    EXPECT_THAT(this->transport.calls("callback destroyed"), ElementsAre("callback destroyed"));
}

TYPED_TEST(ReceiverLifecycle, GivenReceiver_WhenAskedForItsTopic_ThenTheTextItWasMadeWith)
{
    EXPECT_EQ(this->make()->GetTopic(), "A.B");
}

TYPED_TEST(ReceiverLifecycle, GivenReceiver_WhenUsedThroughItsBase_ThenSameTopicAndDestruction)
{
    {
        const std::unique_ptr<lbm::BaseReceiver> receiver = this->make();
        EXPECT_EQ(receiver->GetTopic(), "A.B");
    }
    EXPECT_THAT(this->transport.calls(this->fn("delete(")), ElementsAre(this->fn("delete(") + this->name() + ")"));
}

TYPED_TEST(ReceiverLifecycle, GivenOption_WhenSetAsString_ThenPassedOn)
{
    this->make()->SetString("option", "value");
    EXPECT_THAT(this->transport.calls(this->fn("str_setopt(")),
                ElementsAre(this->fn("str_setopt(") + this->name() + ", 'option', 'value')"));
}

TYPED_TEST(ReceiverLifecycle, GivenFailingSetter_WhenSetAsString_ThenThrows)
{
    const auto receiver = this->make();
    this->transport.fail_next(this->fn("str_setopt"));
    EXPECT_EQ(ThrownText([&] { receiver->SetString("option", "value"); }), TypeParam::setFailure);
}

TEST(Receiver, GivenOnlyContextTopicAndCallback_WhenMade_ThenNoQueueIsUsed)
{
    LbmDouble transport;
    lbm::Context context;
    const lbm::Receiver receiver(context, lbm::ReceiverTopic(context, "A"), {});
    EXPECT_THAT(transport.calls("lbm_rcv_create"),
                ElementsAre("lbm_rcv_create(context#1, topic#1, callback, clientd, null) = rcv#1"));
}
