/// Which receiver is told what of which source; without a network.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

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

/// Plays the receiving thread for one source, whose deliveries are handed on when the test says so.
class RouterTest : public Test {
protected:
    void begin(std::uint32_t next)
    {
        source->arrivals.begin(next);
        handle({Delivery::What::begin, nullptr, source, message(LBM_MSG_BOS, next), 0, 0, nullptr});
    }
    bool arrives(std::uint32_t sequence) { return source->arrivals.arrive(sequence + 1); }
    void data(std::uint32_t n)
    {
        handle({Delivery::What::data, nullptr, source, message(LBM_MSG_DATA, n), 0, 0, nullptr});
    }
    void loss(std::uint32_t from, std::uint32_t to)
    {
        handle({Delivery::What::loss, nullptr, source, nullptr, from, to, nullptr});
    }
    void end(std::uint32_t next)
    {
        handle({Delivery::What::end, nullptr, source, message(LBM_MSG_EOS, next), 0, 0, nullptr});
    }
    void attach(const Listener& l) { handle({Delivery::What::attach, l.receiver, nullptr, nullptr, 0, 0, nullptr}); }
    void detach(const Listener& l) { handle({Delivery::What::detach, l.receiver, nullptr, nullptr, 0, 0, nullptr}); }

    const SourcePtr source = std::make_shared<RemoteSource>(SourceId{{}, 0}, "T");
    Listener first;
    Listener second;
    Router::TimePoint now{};
    Router router;

private:
    MessagePtr message(int type, std::uint32_t n) { return qx::transport::Message::make(source, type, n); }
    void handle(Delivery delivery) { router.handle(delivery, now); }
};

TEST_F(RouterTest, GivenAReceiver_WhenASourceBeginsSendsAndEnds_ThenItIsToldInOrder)
{
    attach(first);
    begin(0);
    data(0);
    loss(1, 3);
    end(4);
    EXPECT_THAT(first.lines, ElementsAre("bos 0", "data 0", "loss 1", "eos 4"));
}

TEST_F(RouterTest, GivenWaitingData_WhenASecondReceiverComes_ThenItBeginsWithThatData)
{
    attach(first);
    begin(0);
    EXPECT_TRUE(arrives(0));
    EXPECT_TRUE(arrives(1));
    data(0);
    attach(second);
    data(1);
    EXPECT_THAT(second.lines, ElementsAre("bos 1", "data 1"));
}

TEST_F(RouterTest, GivenASourceNobodyWants_WhenItSends_ThenItsDataIsNotToBeQueued)
{
    begin(0);
    EXPECT_FALSE(arrives(0));
}

TEST_F(RouterTest, GivenAnUnwantedSource_WhenAReceiverComes_ThenItBeginsAfterWhatHasArrived)
{
    begin(0);
    EXPECT_FALSE(arrives(0));
    attach(first);
    EXPECT_TRUE(arrives(1));
    data(1);
    EXPECT_THAT(first.lines, ElementsAre("bos 1", "data 1"));
}

TEST_F(RouterTest, GivenDataQueuedForAReceiverThatWent_WhenAnotherComes_ThenItSeesNoHoleWithoutALoss)
{
    attach(first);
    begin(0);
    EXPECT_TRUE(arrives(0)); // and waits
    detach(first);
    EXPECT_FALSE(arrives(1));
    attach(second);
    EXPECT_TRUE(arrives(2));
    data(0);
    data(2);
    EXPECT_THAT(second.lines, ElementsAre("bos 2", "data 2"));
}

TEST_F(RouterTest, GivenALossQueuedForAReceiverThatWent_WhenAnotherComes_ThenOnlyLaterLossesAreItsOwn)
{
    attach(first);
    begin(0);
    EXPECT_TRUE(arrives(3));
    detach(first);
    attach(second);
    loss(0, 3);
    loss(4, 5);
    EXPECT_THAT(second.lines, ElementsAre("bos 4", "loss 4"));
}

TEST_F(RouterTest, GivenASourceWhoseNumberIsNotKnown_WhenItsDataComes_ThenItIsPassedWhateverItsNumber)
{
    begin(0);
    attach(first);
    EXPECT_TRUE(arrives(0x9000'0000));
    data(0x9000'0000);
    EXPECT_THAT(first.lines, ElementsAre("bos 0", "data 2415919104"));
}

TEST_F(RouterTest, GivenAnEndedSource_WhenAReceiverComes_ThenItIsToldNothing)
{
    begin(0);
    end(0);
    attach(first);
    EXPECT_THAT(first.lines, IsEmpty());
}

class Absence : public RouterTest {
protected:
    void pass(std::chrono::milliseconds time)
    {
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
