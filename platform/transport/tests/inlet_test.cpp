/// Readers at the engine: what is taken in a turn, what is left, and what writers that are gone leave behind.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <utility>

#include "platform/transport/source/inlet.h"
#include "platform/transport/source/wire_qos.h"
#include "support/context_fixture.h"
#include "support/handmade_writer.h"

using namespace qx::transport;
using namespace testing;

namespace {

constexpr std::size_t batch = 64; // of packets, as the inlet takes them
constexpr InletId number = 7;

class InletTest : public Test {
protected:
    Inlet::Left take(std::size_t batches)
    {
        return inlet.take(
            batches, [this](const Arrival& arrival) { ++packets[arrival.part]; },
            [this](const ContextId&, std::uint32_t part) { gone.emplace_back(part, packets[part]); });
    }
    void write(dds_entity_t writer, std::uint32_t part, std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i) {
            test::write_packet(writer, peer.context(), part, test::frame_of("A.B", part, 0));
        }
        // Deliveries to a reader of the same process are over when a write returns.
    }

    const test::ContextHandle domain = test::make_context(); // sets the domain up
    test::HandmadePeer peer;
    DdsEntity topic = make_packet_topic(peer.participant(), frames_topic);
    std::vector<InletId> notified;
    Inlet inlet{number, peer.participant(), topic.get(), frames_qos("A").get(),
                [this](InletId id) { notified.push_back(id); }};
    std::map<std::uint32_t, std::size_t> packets;
    std::vector<std::pair<std::uint32_t, std::size_t>> gone; ///< a part, and how much of it had been visited
};

TEST_F(InletTest, GivenPackets_WhenTaken_ThenOnlyAFullTurnMayHaveLeftMore)
{
    EXPECT_EQ(take(1), Inlet::Left::nothing_came);
    const dds_entity_t writer = peer.writer(frames_topic, {"A"});
    test::wait_for_readers(writer);
    write(writer, 1, batch + 1);
    EXPECT_EQ(take(1), Inlet::Left::perhaps_more);
    EXPECT_EQ(take(1), Inlet::Left::nothing);
    EXPECT_EQ(take(1), Inlet::Left::nothing_came);
    EXPECT_EQ(packets[1], batch + 1);
}

TEST_F(InletTest, GivenManyPackets_WhenTheyArrive_ThenItNotifiesOnceUntilItIsTakenFrom)
{
    const dds_entity_t writer = peer.writer(frames_topic, {"A"});
    test::wait_for_readers(writer);
    write(writer, 1, 3);
    EXPECT_THAT(notified, ElementsAre(number));
    take(1);
    write(writer, 1, 2);
    EXPECT_THAT(notified, ElementsAre(number, number));
}

TEST_F(InletTest, GivenAWriterOfWhichAllWasTaken_WhenItGoes_ThenThatIsNotifiedAndTold)
{
    const dds_entity_t writer = peer.writer(frames_topic, {"A"});
    test::wait_for_readers(writer);
    write(writer, 1, 2);
    take(1);
    notified.clear();
    dds_delete(writer);
    EXPECT_THAT(notified, ElementsAre(number));
    take(1);
    EXPECT_THAT(gone, ElementsAre(Pair(1U, 2U)));
}

TEST_F(InletTest, GivenAWriterThatIsGoneBesideABusyOne_WhenItIsTold_ThenAllOfItWasVisitedAndTheOtherIsLeftInTime)
{
    const dds_entity_t busy = peer.writer(frames_topic, {"A"});
    const dds_entity_t leaving = peer.writer(frames_topic, {"A"});
    test::wait_for_readers(busy);
    test::wait_for_readers(leaving);
    write(leaving, 1, 3 * batch);
    write(busy, 2, 20 * batch);
    dds_delete(leaving);
    std::size_t turns = 0;
    for (; gone.empty(); ++turns) {
        ASSERT_LT(turns, 25U) << "never told";
        take(1);
    }
    EXPECT_THAT(gone, ElementsAre(Pair(1U, 3 * batch)));
    EXPECT_LE(packets[2], turns * batch) << "a turn took more of the busy one than it may";
}

} // namespace
