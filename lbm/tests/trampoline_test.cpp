// How the transport calls back: through a static function with the receiver as client data.
#include <memory>
#include <optional>
#include <stdexcept>

#include <gmock/gmock.h>

#include <lbm/lbm_cpp.h>

#include "lbm/tests/statement.h"
#include "tests/doubles/lbm_double/lbm_double.h"

using qx::test::Calls;
using qx::test::LbmDouble;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

struct PlainCase {
    using Receiver = lbm::Receiver;
    static constexpr const char* kind = "rcv";
    static auto make(lbm::Context& context, Receiver::Callback callback)
    {
        return std::make_unique<Receiver>(context, lbm::ReceiverTopic(context, "A.B"), std::move(callback));
    }
};

struct WildcardCase {
    using Receiver = lbm::WildcardReceiver;
    static constexpr const char* kind = "wildcard_rcv";
    static auto make(lbm::Context& context, Receiver::Callback callback)
    {
        return std::make_unique<Receiver>(context, "A.B", std::move(callback), nullptr, lbm::ReceiverTopicAttributes(),
                                          lbm::WildcardReceiverAttributes());
    }
};

template <class Case>
class Trampoline : public ::testing::Test {
protected:
    auto make(lbm::Receiver::Callback callback) { return Case::make(context, std::move(callback)); }
    /// As the transport does; "A.B" is the receiver's topic.
    std::optional<int> deliver(lbm_msg_t* msg)
    {
        transport.clear_calls();
        return transport.deliver("A.B", msg);
    }

    LbmDouble transport;
    lbm::Context context;
};

using Cases = ::testing::Types<PlainCase, WildcardCase>;
TYPED_TEST_SUITE(Trampoline, Cases, lbm::test::KindNames);

} // namespace

TYPED_TEST(Trampoline, GivenCallback_WhenMessageArrives_ThenCalledWithItAndResultIsZero)
{
    std::vector<const lbm_msg_t*> received;
    const auto receiver = this->make([&](const lbm::Message& message) { received.push_back(message); });
    lbm_msg_t* msg = this->transport.make_message();
    EXPECT_EQ(this->deliver(msg), 0);
    EXPECT_THAT(received, ElementsAre(msg));
}

TYPED_TEST(Trampoline, GivenCallback_WhenMessageArrives_ThenRetainedOnceAndReleasedOnce)
{
    const auto receiver = this->make([](const lbm::Message&) {});
    this->deliver(this->transport.make_message());
    EXPECT_EQ(this->transport.calls(), (Calls{"lbm_msg_retain(msg#1)", "lbm_msg_delete(msg#1)"}));
}

TYPED_TEST(Trampoline, GivenCallbackByValue_WhenMessageArrives_ThenItIsMovedNotCopied)
{
    const auto receiver = this->make([](lbm::Message message) { const lbm::Message taken(std::move(message)); });
    this->deliver(this->transport.make_message());
    EXPECT_EQ(this->transport.calls(), (Calls{"lbm_msg_retain(msg#1)", "lbm_msg_delete(msg#1)"}));
}

TYPED_TEST(Trampoline, GivenCallbackThatKeepsTheMessage_WhenItReturned_ThenTheMessageIsHeldOn)
{
    std::optional<lbm::Message> kept;
    const auto receiver = this->make([&](lbm::Message message) { kept.emplace(std::move(message)); });
    lbm_msg_t* msg = this->transport.make_message({.payload = "data"});
    this->deliver(msg);
    EXPECT_EQ(this->transport.refcount(msg), 1); // ours; the transport's own is gone
    EXPECT_EQ(std::string(kept->Data(), kept->Length()), "data");
    kept.reset();
    EXPECT_EQ(this->transport.refcount(msg), 0);
}

TYPED_TEST(Trampoline, GivenEmptyCallback_WhenMessageArrives_ThenItIsNotTouchedAndResultIsZero)
{
    const auto receiver = this->make({});
    EXPECT_EQ(this->deliver(this->transport.make_message()), 0);
    EXPECT_THAT(this->transport.calls(), IsEmpty());
}

TYPED_TEST(Trampoline, GivenNoClientData_WhenCalled_ThenTheMessageIsNotTouchedAndResultIsZero)
{
    lbm_msg_t* msg = this->transport.make_message();
    this->transport.clear_calls();
    EXPECT_EQ(TypeParam::Receiver::LbmCallback(nullptr, msg, nullptr), 0);
    EXPECT_THAT(this->transport.calls(), IsEmpty());
}

TYPED_TEST(Trampoline, GivenNoMessage_WhenCalled_ThenTheCallbackGetsAnEmptyOne)
{
    bool empty = false;
    const auto receiver =
        this->make([&](lbm::Message message) { empty = static_cast<lbm_msg_t*>(message) == nullptr; });
    this->transport.clear_calls();
    EXPECT_EQ(TypeParam::Receiver::LbmCallback(nullptr, nullptr, receiver.get()), 0);
    EXPECT_TRUE(empty);
    EXPECT_THAT(this->transport.calls(), IsEmpty());
}

TYPED_TEST(Trampoline, GivenThrowingCallback_WhenMessageArrives_ThenTheExceptionPassesThrough)
{
    const auto receiver = this->make([](const lbm::Message&) { throw std::out_of_range("gone"); });
    EXPECT_THROW(this->deliver(this->transport.make_message()), std::out_of_range);
}

TYPED_TEST(Trampoline, GivenThrowingCallback_WhenMessageArrives_ThenItsReferenceIsReleased)
{
    const auto receiver = this->make([](const lbm::Message&) { throw 42; });
    lbm_msg_t* msg = this->transport.make_message();
    EXPECT_THROW(this->deliver(msg), int);
    EXPECT_EQ(this->transport.calls(), (Calls{"lbm_msg_retain(msg#1)", "lbm_msg_delete(msg#1)"}));
}

TYPED_TEST(Trampoline, GivenMessageBeforeCreationReturned_WhenItArrives_ThenTheCallbackRuns)
{
    int ran = 0;
    lbm_msg_t* msg = this->transport.make_message();
    for (const char* create : {"lbm_rcv_create", "lbm_wildcard_rcv_create"}) {
        this->transport.on_call(create, [&] { this->transport.deliver("A.B", msg); });
    }
    const auto receiver = this->make([&](const lbm::Message&) { ++ran; });
    EXPECT_EQ(ran, 1);
}

TYPED_TEST(Trampoline, GivenTwoMessages_WhenTheyArrive_ThenTheSameCallbackRunsForEach)
{
    int ran = 0;
    const auto receiver = this->make([&](const lbm::Message&) { ++ran; });
    this->deliver(this->transport.make_message());
    this->deliver(this->transport.make_message());
    EXPECT_EQ(ran, 2);
}
