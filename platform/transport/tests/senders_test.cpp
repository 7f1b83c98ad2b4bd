/// What is known of writers, and when their participants are taken for gone.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "platform/transport/source/partition.h"
#include "platform/transport/source/senders.h"
#include "platform/transport/source/wire_qos.h"
#include "support/context_fixture.h"
#include "support/handmade_writer.h"

using namespace qx::transport;
using namespace testing;

namespace {

using SteadyClock = std::chrono::steady_clock;

class SendersTest : public Test {
protected:
    static dds_instance_handle_t handle_of(dds_entity_t writer)
    {
        dds_instance_handle_t handle = 0;
        EXPECT_EQ(dds_get_instance_handle(writer, &handle), DDS_RETCODE_OK);
        return handle;
    }
    const Sender* find(dds_entity_t writer) { return senders.find(handle_of(writer), peer.context()); }
    /// One that was there, and of whose end is known.
    dds_instance_handle_t writer_that_went(SteadyClock::time_point now)
    {
        const dds_entity_t writer = peer.writer(frames_topic, {"A"});
        const dds_instance_handle_t handle = handle_of(writer);
        find(writer);
        dds_delete(writer);
        senders.refresh(now);
        return handle;
    }

    const test::ContextHandle domain = test::make_context(); // sets the domain up
    test::HandmadePeer peer;
    Senders senders{peer.participant()};
};

TEST_F(SendersTest, GivenWriters_WhenAskedFor_ThenTheirContextsAndTokensAreKnown)
{
    const std::string partition = partition_of_topic("A.B");
    const Sender* const sender = find(peer.writer(frames_topic, {partition}));
    ASSERT_NE(sender, nullptr);
    EXPECT_EQ(sender->token, "A");
    EXPECT_EQ(sender->context, peer.context());
    EXPECT_FALSE(sender->any_topic);
    EXPECT_EQ(find(peer.writer(frames_topic, {partition, "another"}))->token, std::nullopt);
    EXPECT_TRUE(find(peer.writer(frames_topic, {any_topic_partition}))->any_topic);
    EXPECT_FALSE(find(peer.writer(frames_topic, {any_topic_partition, partition}))->any_topic);
    EXPECT_EQ(find(peer.writer("another_topic", {partition})), nullptr);
}

TEST_F(SendersTest, GivenTwoWriters_WhenTheyGo_ThenTheirContextIsGoneWithTheSecond)
{
    const dds_entity_t first = peer.writer(frames_topic, {"A"});
    const dds_entity_t second = peer.writer(catalogue_topic, {});
    find(first);
    find(second);
    dds_delete(first);
    senders.refresh(SteadyClock::now());
    EXPECT_THAT(senders.take_gone(), IsEmpty());
    dds_delete(second);
    senders.refresh(SteadyClock::now());
    EXPECT_THAT(senders.take_gone(), ElementsAre(peer.context()));
    EXPECT_THAT(senders.take_gone(), IsEmpty());
}

TEST_F(SendersTest, GivenTwoContextsOfAProcess_WhenTheWriterOfOneGoes_ThenThatOneIsGone)
{
    const dds_entity_t first = peer.writer(frames_topic, {"A"});
    const dds_entity_t second = peer.writer(frames_topic, {"A"});
    find(first);
    EXPECT_NE(senders.find(handle_of(second), peer.context(1)), nullptr);
    dds_delete(first);
    senders.refresh(SteadyClock::now());
    EXPECT_THAT(senders.take_gone(), ElementsAre(peer.context()));
}

TEST_F(SendersTest, GivenAWriterThatSpokeForAContext_WhenItSpeaksForAnotherOfItsProcess_ThenItIsNotThatOnes)
{
    const dds_entity_t writer = peer.writer(frames_topic, {"A"});
    EXPECT_NE(find(writer), nullptr);
    EXPECT_EQ(senders.find(handle_of(writer), peer.context(1)), nullptr);
}

// The engine tells that a writer is gone before its readers give all that it sent, which may begin its sources anew.
TEST_F(SendersTest, GivenAWriterThatIsGone_WhenAPacketOfItIsStillThere_ThenItsContextIsGoneOnceMore)
{
    const dds_instance_handle_t handle = writer_that_went(SteadyClock::now());
    EXPECT_THAT(senders.take_gone(), SizeIs(1));
    EXPECT_NE(senders.find(handle, peer.context()), nullptr);
    EXPECT_THAT(senders.take_gone(), SizeIs(1));
    EXPECT_THAT(senders.take_gone(), IsEmpty());
}

TEST_F(SendersTest, GivenAWriter_WhenItSpeaksForAContextOfAnotherProcess_ThenItIsNotThatOnes)
{
    EXPECT_EQ(senders.find(handle_of(peer.writer(frames_topic, {"A"})), ContextId{}), nullptr);
}

TEST_F(SendersTest, GivenAWriterThatIsGone_WhenItWasLongAgo_ThenItIsForgotten)
{
    const auto now = SteadyClock::now();
    const dds_instance_handle_t handle = writer_that_went(now);
    senders.refresh(now + 2 * gone_sender_kept);
    EXPECT_EQ(senders.find(handle, peer.context()), nullptr);
}

} // namespace
