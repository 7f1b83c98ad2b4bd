#include <gtest/gtest.h>

#include "platform/transport/source/partition.h"
#include "platform/transport/source/topic_name.h"

using namespace qx::transport;

namespace {

TEST(Partition, GivenTopics_WhenNamed_ThenTheFirstTokenDecidesAndSpecialBytesAreEscaped)
{
    EXPECT_EQ(partition_of_topic("qxnotify.public.x"), "t:qxnotify");
    EXPECT_EQ(partition_of_topic("plain"), "t:plain");
    EXPECT_EQ(partition_of_topic(".x"), "t:");
    EXPECT_EQ(partition_of_topic("a*b?c%.x"), "t:a%2ab%3fc%25");
}

TEST(Partition, GivenPrefixes_WhenNamed_ThenOnlyAWholeTokenNeedsNoWildcard)
{
    EXPECT_EQ(partition_of_prefix("tok."), "t:tok");
    EXPECT_EQ(partition_of_prefix("tok"), "t:tok*");
    EXPECT_EQ(partition_of_prefix(""), "t:*");
}

TEST(Partition, GivenAContext_WhenItsAnswersAreRouted_ThenThePartitionIsItsIdInHex)
{
    EXPECT_EQ(partition_of_requester(ContextId{{0x7f, 0, 0, 1, 0, 0, 0x12, 0xAB}}),
              "r:7f000001000012ab0000000000000000");
}

TEST(Partition, GivenThePartitionOfATopic_WhenRead_ThenTheTokenComesBack)
{
    for (const char* topic : {"qxnotify.public.x", "plain", ".x", "a*b?c%.x", "\xff%2a.x", "t:."}) {
        EXPECT_EQ(token_of_partition(partition_of_topic(topic)), first_token(topic)) << topic;
    }
}

TEST(Partition, GivenAPartitionThatIsOfNoTopic_WhenRead_ThenThereIsNoToken)
{
    for (const char* partition : {"", "*", "t", any_topic_partition, "x:A", "r:00", "t:A*", "t:%41", "t:A%2eB", "t:%2",
                                  "t:%", "t:%zz", "t:%2A", "t:A.B", "tA"}) {
        EXPECT_EQ(token_of_partition(partition), std::nullopt) << partition;
    }
}

} // namespace
