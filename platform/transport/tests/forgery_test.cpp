/// What a peer may not get across that writes packets by hand: permissions see a writer's partition and nothing of what
/// it sends, so that both must agree.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/transport/source/partition.h"
#include "platform/transport/source/senders.h"
#include "platform/transport/source/wire_qos.h"
#include "support/context_fixture.h"
#include "support/handmade_writer.h"

using namespace qx::transport;
using namespace testing;

namespace {

constexpr const char* guarded_topic = "TRIAGE.ACTION";

/// A receiver of everything and one of the guarded topic, and a peer beside them.
class Forgery : public Test {
protected:
    std::uint64_t refused() const
    {
        lbm_context_stats_t stats{};
        test::check(lbm_context_retrieve_stats(hearing.get(), &stats));
        return stats.packets_refused;
    }
    bool is_refused(std::uint64_t times = 1) const
    {
        return everything.wait([&] { return refused() >= times; });
    }
    std::size_t delivered(const std::string& topic = guarded_topic) const
    {
        return everything.count(LBM_MSG_DATA, topic) + guarded.count(LBM_MSG_DATA, topic);
    }
    /// Writes one frame on the guarded topic from those partitions.
    void forge(const std::vector<std::string>& partitions)
    {
        const dds_entity_t writer = peer.writer(frames_topic, partitions);
        test::wait_for_readers(writer);
        test::write_packet(writer, peer.context(), 0, test::frame_of(guarded_topic, 7, 1));
    }

    void expect_refused(const std::vector<std::vector<std::string>>& forgeries)
    {
        for (const auto& partitions : forgeries) {
            const std::uint64_t before = refused();
            forge(partitions);
            EXPECT_TRUE(is_refused(before + 1)) << PrintToString(partitions);
        }
        EXPECT_EQ(delivered(), 0U);
    }

    test::ContextHandle hearing = test::make_context();
    test::Recorder everything;
    test::Recorder guarded;
    test::WildcardHandle all = test::make_wildcard(hearing, ".*", everything);
    test::ReceiverHandle one = test::make_receiver(hearing, guarded_topic, guarded);
    test::HandmadePeer peer;
};

TEST_F(Forgery, GivenTheRightPartition_WhenWrittenByHand_ThenItIsDelivered)
{
    forge({"t:TRIAGE"});
    EXPECT_TRUE(everything.wait([&] { return delivered() == 2; }));
    EXPECT_EQ(refused(), 0U);
}

TEST_F(Forgery, GivenAnotherPartition_WhenAFrameHasTheGuardedTopic_ThenItIsRefused)
{
    forge({"t:OTHER"});
    EXPECT_TRUE(is_refused());
    EXPECT_EQ(delivered(), 0U);
}

TEST_F(Forgery, GivenAPartitionWithAWildcard_WhenItMeetsTheGuardedReader_ThenWhatItSendsIsRefused)
{
    expect_refused({{"*"}, {"t:TRIAG?"}, {"a?"}});
}

TEST_F(Forgery, GivenSeveralPartitions_WhenOneIsTheGuardedOne_ThenWhatItSendsIsRefused)
{
    expect_refused({{"t:OTHER", "t:TRIAGE"}, {any_topic_partition, "t:TRIAGE"}});
}

TEST_F(Forgery, GivenAPartitionSpeltInAnotherWay_WhenItMeansTheGuardedOne_ThenWhatItSendsIsRefused)
{
    forge({"t:%54RIAGE"});
    forge({"t:TRIAGE%2eACTION"});
    EXPECT_TRUE(is_refused(2));
    EXPECT_EQ(delivered(), 0U);
}

TEST_F(Forgery, GivenAFrameWithTwoTopics_WhenOneIsOfAnotherPartition_ThenItIsRefusedAsAWhole)
{
    const dds_entity_t writer = peer.writer(frames_topic, {"t:OTHER"});
    test::wait_for_readers(writer);
    FrameBuilder frame{1'024};
    frame.add({Kind::data, 1, 0, "OTHER.A", {}, "honest"});
    frame.add({Kind::data, 2, 0, guarded_topic, {}, "forged"});
    test::write_packet(writer, peer.context(), 0, frame.finish(1, 0));
    EXPECT_TRUE(is_refused());
    EXPECT_EQ(delivered("OTHER.A"), 0U);
}

TEST_F(Forgery, GivenAnotherContextsName_WhenUsedInFramesAndPages_ThenAllIsRefused)
{
    const test::HandmadePeer victim;
    const dds_entity_t frames = peer.writer(frames_topic, {"t:TRIAGE"});
    const dds_entity_t pages = peer.writer(catalogue_topic, {});
    test::wait_for_readers(frames);
    test::wait_for_readers(pages);
    test::write_packet(frames, victim.context(), 0, test::frame_of(guarded_topic, 7, 1));
    test::write_packet(pages, victim.context(), 0, test::page_of(guarded_topic, 7));
    EXPECT_TRUE(is_refused(2));
    EXPECT_THAT(guarded.seen(), IsEmpty());
}

TEST_F(Forgery, GivenASourceAnnouncedUnderTheGuardedTopic_WhenItsNumberSpeaksElsewhere_ThenThatIsRefused)
{
    const dds_entity_t frames = peer.writer(frames_topic, {"t:OTHER"});
    const dds_entity_t pages = peer.writer(catalogue_topic, {});
    test::wait_for_readers(frames);
    test::wait_for_readers(pages);
    test::write_packet(pages, peer.context(), 0, test::page_of(guarded_topic, 7));
    ASSERT_TRUE(guarded.wait_for(LBM_MSG_BOS));
    test::write_packet(frames, peer.context(), 0, test::frame_of("OTHER.A", 7, 1));
    EXPECT_TRUE(is_refused());
    EXPECT_EQ(delivered(), 0U);
    EXPECT_EQ(delivered("OTHER.A"), 0U);
}

/// A victim whose source is heard, and a hostile peer's writers where the victim has its own.
class ForeignEnds : public Forgery {
protected:
    ForeignEnds()
    {
        for (const dds_entity_t writer : {frames, pages}) {
            test::wait_for_readers(writer);
        }
        const dds_entity_t victims_frames = victim->writer(frames_topic, {"t:TRIAGE"});
        const dds_entity_t victims_pages = victim->writer(catalogue_topic, {});
        test::wait_for_readers(victims_frames);
        test::wait_for_readers(victims_pages);
        test::write_packet(victims_pages, name, 0, test::page_of(guarded_topic, 7));
        test::write_packet(victims_frames, name, 0, test::frame_of(guarded_topic, 7, 1));
        if (!guarded.wait_for(LBM_MSG_DATA)) {
            throw std::runtime_error("the victim is not heard");
        }
    }

    std::unique_ptr<test::HandmadePeer> victim = std::make_unique<test::HandmadePeer>();
    const ContextId name = victim->context();
    dds_entity_t frames = peer.writer(frames_topic, {"t:TRIAGE"});
    dds_entity_t pages = peer.writer(catalogue_topic, {});
};

TEST_F(ForeignEnds, GivenAPeer_WhenItDisposesOfAnothersStreamAndPage_ThenTheSourceGoesOn)
{
    test::write_packet(pages, peer.context(), 0, test::page_of("TRIAGE.OWN", 8));
    ASSERT_TRUE(everything.wait([&] { return everything.count(LBM_MSG_BOS, "TRIAGE.OWN") == 1; }));
    test::dispose(frames, name, 0);
    test::dispose(pages, name, 0);
    // Its own page then lists that source no more, and ends it later than the other one would have ended.
    test::write_packet(pages, peer.context(), 0, test::page_of("TRIAGE.NEXT", 9));
    ASSERT_TRUE(everything.wait([&] { return everything.count(LBM_MSG_EOS, "TRIAGE.OWN") == 1; }));
    EXPECT_EQ(guarded.count(LBM_MSG_EOS), 0U);
}

TEST_F(ForeignEnds, GivenAPeerThatHasDisposedOfAStreamAndPage_WhenTheirOwnerGoes_ThenTheSourceEnds)
{
    test::dispose(frames, name, 0);
    test::dispose(pages, name, 0);
    test::write_packet(frames, peer.context(), 0, test::frame_of("TRIAGE.OWN", 8, 1));
    ASSERT_TRUE(everything.wait([&] { return everything.count(LBM_MSG_DATA, "TRIAGE.OWN") == 1; }));
    victim.reset();
    EXPECT_TRUE(guarded.wait_for(LBM_MSG_EOS));
}

TEST_F(ForeignEnds, GivenAPeerThatWritesInAnothersName_WhenThatGoes_ThenItsSourceEndsAllTheSame)
{
    test::write_packet(frames, name, 0, test::frame_of(guarded_topic, 7, 2));
    test::write_packet(pages, name, 0, test::page_of(guarded_topic, 7));
    ASSERT_TRUE(is_refused(2));
    victim.reset();
    EXPECT_TRUE(guarded.wait_for(LBM_MSG_EOS));
    EXPECT_EQ(guarded.count(LBM_MSG_EOS), 1U);
}

TEST_F(Forgery, GivenAWriterThatIsGone_WhenItsPacketsAreLookedAt_ThenItIsStillKnownForAWhile)
{
    Senders senders{peer.participant()};
    dds_instance_handle_t handle = 0;
    ContextId context;
    {
        const test::HandmadePeer short_lived;
        context = short_lived.context();
        const dds_entity_t writer = short_lived.writer(frames_topic, {"t:OTHER"});
        ASSERT_EQ(dds_get_instance_handle(writer, &handle), DDS_RETCODE_OK);
    }
    const Sender* const sender = senders.find(handle, context);
    ASSERT_NE(sender, nullptr);
    EXPECT_EQ(sender->token, "OTHER");
    senders.refresh(std::chrono::steady_clock::now() + 2 * gone_sender_kept);
    EXPECT_EQ(senders.find(handle, context), nullptr);
}

} // namespace
