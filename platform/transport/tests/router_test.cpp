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
    std::shared_ptr<Receiver> receiver =
        std::make_shared<Receiver>(std::string{"T"}, Callback{&Listener::write_down, this, nullptr}, nullptr);
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
        return type == LBM_MSG_DATA ? "data" : type == LBM_MSG_BOS ? "bos" : type == LBM_MSG_EOS ? "eos" : "loss";
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

private:
    MessagePtr message(int type, std::uint32_t n) { return qx::transport::Message::make(source, type, n); }
    void handle(Delivery delivery) { router.handle(delivery); }

    Router router;
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

} // namespace
