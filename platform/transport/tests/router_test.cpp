/// Which receiver is told what of which source; without a network.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/transport/source/inflow.h"
#include "platform/transport/source/router.h"

using namespace qx::transport;
using namespace testing;

namespace {

using Lines = std::vector<std::string>;

/// A receiver of "T" that writes down what it is told.
class Listener {
public:
    explicit Listener(std::chrono::milliseconds absence = {})
        : receiver(std::make_shared<Receiver>(std::string{"T"}, Callback{&Listener::write_down, this, nullptr}, nullptr,
                                              absence))
    {
    }
    std::shared_ptr<Receiver> receiver;
    Lines lines;

private:
    static int write_down(lbm_rcv_t*, lbm_msg_t* msg, void* clientd)
    {
        const std::string number = " " + std::to_string(msg->sequence_number);
        static_cast<Listener*>(clientd)->lines.push_back(name_of(msg->type) + number);
        return 0;
    }
    static std::string name_of(int type)
    {
        return type == LBM_MSG_DATA                     ? "data"
               : type == LBM_MSG_BOS                    ? "bos"
               : type == LBM_MSG_EOS                    ? "eos"
               : type == LBM_MSG_NO_SOURCE_NOTIFICATION ? "none"
                                                        : "loss";
    }
};

/// What happens to one source, posted at once and handed on when the test says so.
class RouterTest : public Test {
protected:
    void begin(std::uint32_t next) { inflow.begun(source, next); }
    void data(std::uint32_t n) { inflow.data(source, {Kind::data, 0, n, "T", {}, {}}); }
    void loss(std::uint32_t from, std::uint32_t to) { inflow.lost(source, from, to); }
    void end(std::uint32_t next) { inflow.ended(source, next); }
    void attach(const Listener& l) { inflow.add(l.receiver); }
    void detach(const Listener& l) { inflow.remove(l.receiver); }
    void route()
    {
        Delivery delivery;
        while (mailbox.take_present(delivery) == Mailbox::Taken::item) {
            router.handle(delivery, now);
        }
    }

    const std::shared_ptr<Counters> counters = std::make_shared<Counters>();
    SourcePtr source = std::make_shared<RemoteSource>(SourceId{{}, 0}, "T");
    Listener first;
    Listener second;
    Router::TimePoint now{};
    Mailbox mailbox{1U << 20U, counters};
    Inflow inflow{mailbox, *counters, nullptr};
    Router router;
};

TEST_F(RouterTest, GivenAReceiver_WhenASourceBeginsSendsAndEnds_ThenItIsToldInOrder)
{
    attach(first);
    begin(0);
    data(0);
    loss(1, 3);
    end(4);
    route();
    EXPECT_THAT(first.lines, ElementsAre("bos 0", "data 0", "loss 1", "eos 4"));
}

TEST_F(RouterTest, GivenWaitingData_WhenASecondReceiverComes_ThenItBeginsWithWhatArrivesNext)
{
    attach(first);
    begin(0);
    data(0);
    attach(second);
    data(1);
    route();
    EXPECT_THAT(first.lines, ElementsAre("bos 0", "data 0", "data 1"));
    EXPECT_THAT(second.lines, ElementsAre("bos 1", "data 1"));
}

TEST_F(RouterTest, GivenAReceiverOnItsWay_WhenDataArrivesBeforeItIsRouted_ThenItGetsIt)
{
    begin(0);
    route();
    attach(first);
    data(0);
    route();
    EXPECT_THAT(first.lines, ElementsAre("bos 0", "data 0"));
}

// The context's thread is at a detach when another one closes the mailbox.
TEST_F(RouterTest, GivenAnEndThatWaits_WhenTheMailboxCloses_ThenTheSourceStaysForWhoeverIsAtItsReceiver)
{
    attach(first);
    begin(0);
    route();
    end(0);
    const std::weak_ptr<RemoteSource> ended = source;
    source.reset();
    {
        const DeliveryQueue left = mailbox.close();
        ASSERT_FALSE(ended.expired());
        Delivery detach{Delivery::What::detach, first.receiver, nullptr, nullptr, 0, 0, nullptr};
        router.handle(detach, now);
    }
    EXPECT_TRUE(ended.expired());
    EXPECT_THAT(first.lines, ElementsAre("bos 0"));
}

TEST_F(RouterTest, GivenASourceNobodyWants_WhenItSends_ThenNothingIsQueued)
{
    begin(0);
    data(0);
    loss(1, 2);
    EXPECT_EQ(mailbox.size(), 0U);
    EXPECT_EQ(counters->messages_unwanted.value(), 1U);
}

TEST_F(RouterTest, GivenAnUnwantedSource_WhenAReceiverComes_ThenItBeginsAfterWhatHasArrived)
{
    begin(0);
    data(0);
    attach(first);
    data(1);
    route();
    EXPECT_THAT(first.lines, ElementsAre("bos 1", "data 1"));
}

TEST_F(RouterTest, GivenDataQueuedForAReceiverThatWent_WhenAnotherComes_ThenItSeesNoHoleWithoutALoss)
{
    attach(first);
    begin(0);
    data(0);
    detach(first);
    data(1);
    attach(second);
    data(2);
    route();
    EXPECT_THAT(second.lines, ElementsAre("bos 2", "data 2"));
}

TEST_F(RouterTest, GivenALossQueuedForOthers_WhenAReceiverComes_ThenOnlyLaterLossesAreItsOwn)
{
    attach(first);
    begin(0);
    loss(0, 3);
    attach(second);
    loss(4, 5);
    route();
    EXPECT_THAT(first.lines, ElementsAre("bos 0", "loss 0", "loss 4"));
    EXPECT_THAT(second.lines, ElementsAre("bos 4", "loss 4"));
}

TEST_F(RouterTest, GivenASourceWhoseNumberIsNotKnown_WhenItsDataComes_ThenItIsPassedWhateverItsNumber)
{
    begin(0);
    attach(first);
    data(0x9000'0000);
    route();
    EXPECT_THAT(first.lines, ElementsAre("bos 0", "data 2415919104"));
}

TEST_F(RouterTest, GivenAnEndedSource_WhenAReceiverComes_ThenItIsToldNothing)
{
    begin(0);
    end(0);
    attach(first);
    route();
    EXPECT_THAT(first.lines, IsEmpty());
}

class Absence : public RouterTest {
protected:
    void pass(std::chrono::milliseconds time)
    {
        route();
        now += time;
        router.tick(now);
    }
    Listener waiting{std::chrono::milliseconds{100}};
};

TEST_F(Absence, GivenNoSource_WhenTheTimeIsNotOver_ThenNothingIsTold)
{
    attach(waiting);
    pass(std::chrono::milliseconds{99});
    EXPECT_THAT(waiting.lines, IsEmpty());
}

TEST_F(Absence, GivenNoSource_WhenTheTimeIsOver_ThenToldOnce)
{
    attach(waiting);
    route();
    EXPECT_EQ(router.next_due(), now + std::chrono::milliseconds{100});
    pass(std::chrono::milliseconds{100});
    pass(std::chrono::milliseconds{1000});
    EXPECT_THAT(waiting.lines, ElementsAre("none 0"));
    EXPECT_EQ(router.next_due(), std::nullopt);
}

TEST_F(Absence, GivenASourceInTime_WhenTheTimeIsOver_ThenNothingIsTold)
{
    attach(waiting);
    begin(0);
    pass(std::chrono::milliseconds{1000});
    EXPECT_THAT(waiting.lines, ElementsAre("bos 0"));
}

TEST_F(Absence, GivenASourceBefore_WhenAttached_ThenNothingIsTold)
{
    begin(0);
    attach(waiting);
    pass(std::chrono::milliseconds{1000});
    EXPECT_THAT(waiting.lines, ElementsAre("bos 0"));
}

TEST_F(Absence, GivenASourceThatEnds_WhenTheTimeIsOverAgain_ThenToldAgain)
{
    attach(waiting);
    pass(std::chrono::milliseconds{100});
    begin(0);
    end(0);
    pass(std::chrono::milliseconds{99});
    EXPECT_THAT(waiting.lines, ElementsAre("none 0", "bos 0", "eos 0"));
    pass(std::chrono::milliseconds{1});
    EXPECT_THAT(waiting.lines, ElementsAre("none 0", "bos 0", "eos 0", "none 0"));
}

TEST_F(Absence, GivenTwoReceivers_WhenTheFirstIsDue_ThenTheOtherIsToldInItsOwnTime)
{
    attach(waiting);
    Listener later{std::chrono::milliseconds{300}};
    attach(later);
    pass(std::chrono::milliseconds{100});
    EXPECT_THAT(later.lines, IsEmpty());
    pass(std::chrono::milliseconds{200});
    EXPECT_THAT(later.lines, ElementsAre("none 0"));
}

TEST_F(Absence, GivenAReceiverThatWent_WhenTheTimeIsOver_ThenNothingIsTold)
{
    attach(waiting);
    detach(waiting);
    pass(std::chrono::milliseconds{1000});
    EXPECT_THAT(waiting.lines, IsEmpty());
}

} // namespace
