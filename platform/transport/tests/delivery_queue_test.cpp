#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/transport/source/delivery_queue.h"

using namespace qx::transport;
using namespace testing;

namespace {

class DeliveryQueueTest : public Test {
protected:
    bool push_data(const SourcePtr& source, std::uint32_t sequence, std::size_t size = 100)
    {
        auto message = qx::transport::Message::make(source, LBM_MSG_DATA, sequence, std::string(size, 'x'));
        return queue.push({Delivery::What::data, nullptr, source, std::move(message), 0, 0, nullptr});
    }
    bool push_answer(std::size_t size)
    {
        auto message = qx::transport::Message::make(a, LBM_MSG_RESPONSE, 0, std::string(size, 'x'));
        return queue.push({Delivery::What::answer, nullptr, a, std::move(message), 0, 0, nullptr});
    }
    std::vector<std::string> pop_all()
    {
        std::vector<std::string> lines;
        while (const auto d = queue.pop()) {
            lines.push_back(d->what == Delivery::What::loss
                                ? "lost " + std::to_string(d->first) + "-" + std::to_string(d->last)
                                : "data " + std::to_string(d->message->sequence_number));
        }
        return lines;
    }

    const SourcePtr a = std::make_shared<RemoteSource>(SourceId{{}, 0}, "A");
    const SourcePtr b = std::make_shared<RemoteSource>(SourceId{{}, 1}, "B");
    DeliveryQueue queue{1'000};
};

TEST_F(DeliveryQueueTest, GivenRoom_WhenPushed_ThenEverythingComesOutInOrder)
{
    EXPECT_TRUE(push_data(a, 0));
    EXPECT_TRUE(push_data(b, 0));
    queue.push_loss(nullptr, a, 1, 2);
    EXPECT_THAT(pop_all(), ElementsAre("data 0", "data 0", "lost 1-2"));
    EXPECT_EQ(queue.bytes(), 0U);
}

TEST_F(DeliveryQueueTest, GivenAFullQueue_WhenAnAnswerComes_ThenItIsDroppedWithoutALoss)
{
    EXPECT_TRUE(push_answer(900));
    EXPECT_FALSE(push_answer(100));
    EXPECT_EQ(queue.dropped(), 1U);
    EXPECT_EQ(queue.size(), 1U);
    EXPECT_TRUE(queue.pop());
    EXPECT_EQ(queue.bytes(), 0U);
}

TEST_F(DeliveryQueueTest, GivenAFullQueue_WhenDataComes_ThenItBecomesOneLossBehindWhatWaits)
{
    push_data(a, 0, 900);
    EXPECT_FALSE(push_data(a, 1));
    EXPECT_FALSE(push_data(a, 2));
    EXPECT_EQ(queue.dropped(), 2U);
    EXPECT_THAT(pop_all(), ElementsAre("data 0", "lost 1-2"));
}

TEST_F(DeliveryQueueTest, GivenALossOfOneSource_WhenAnotherSourceLosesToo_ThenTheyStayApart)
{
    push_data(a, 0, 900);
    push_data(a, 1);
    push_data(b, 7);
    push_data(a, 2);
    EXPECT_THAT(pop_all(), ElementsAre("data 0", "lost 1-2", "lost 7-7"));
}

TEST_F(DeliveryQueueTest, GivenALossThatWasTaken_WhenMoreIsLost_ThenItIsANewOne)
{
    push_data(a, 0, 900);
    push_data(b, 0);
    push_data(a, 1);
    queue.pop();
    queue.pop();
    queue.push_loss(nullptr, b, 1, 1);
    EXPECT_THAT(pop_all(), ElementsAre("lost 1-1", "lost 1-1"));
}

TEST_F(DeliveryQueueTest, GivenALossFollowedByData_WhenMoreIsLost_ThenItIsANewOne)
{
    push_data(a, 0, 900);
    push_data(a, 1);
    queue.pop();
    push_data(a, 2, 900);
    push_data(a, 3);
    EXPECT_THAT(pop_all(), ElementsAre("lost 1-1", "data 2", "lost 3-3"));
}

TEST_F(DeliveryQueueTest, GivenADataLargerThanTheBound_WhenTheQueueIsEmpty_ThenItIsTaken)
{
    EXPECT_TRUE(push_data(a, 0, 5'000));
    EXPECT_FALSE(push_data(a, 1, 0));
}

TEST_F(DeliveryQueueTest, GivenALoss_WhenItsMessageIsMade_ThenTypeAndNumberTellItsExtent)
{
    const auto one = loss_message(a, 5, 5);
    const auto run = loss_message(a, 5, 9);
    EXPECT_EQ(one->type, LBM_MSG_UNRECOVERABLE_LOSS);
    EXPECT_EQ(run->type, LBM_MSG_UNRECOVERABLE_LOSS_BURST);
    EXPECT_EQ(run->sequence_number, 5U);
}

} // namespace
