#include <gtest/gtest.h>

#include "platform/transport/source/domain.h"
#include "platform/transport/source/partition.h"

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

TEST(Domain, GivenATagWithMarkup_WhenConfigured_ThenItIsEscaped)
{
    Options options{Scope::context};
    options.set_text("domain_tag", "<&>\"");
    EXPECT_NE(domain_xml(DomainSettings{options}).find("<Tag>&lt;&amp;&gt;&quot;</Tag>"), std::string::npos);
}

} // namespace
