/// What contexts are called, and whose they are.
#include <gtest/gtest.h>

#include <algorithm>

#include "support/responder_fixture.h"

using namespace qx::transport;

namespace {

/// A participant whose distinctive bytes, the middle ones, are all the same.
ParticipantKey key_of(std::uint8_t byte)
{
    ParticipantKey key{1, 2, 3, 4};
    std::fill_n(key.begin() + 4, 8, byte);
    return key;
}

TEST(ContextIds, GivenContextsOfAProcess_WhenNamed_ThenTheyDifferAndAreItsParticipants)
{
    for (const ParticipantKey& key : {key_of(0), key_of(0x7F), key_of(0xFF)}) { // the last one's numbers wrap
        const ContextId first = ContextId::make("lo", key, 0);
        const ContextId last = ContextId::make("lo", key, 0xFFFF'FFFF);
        EXPECT_NE(first, last);
        EXPECT_TRUE(first.is_of(key));
        EXPECT_TRUE(last.is_of(key));
    }
}

TEST(ContextIds, GivenAnotherParticipant_WhenAskedWhoseAContextIs_ThenItIsNotItsOwn)
{
    EXPECT_FALSE(ContextId::make("lo", key_of(1), 7).is_of(key_of(2)));
    EXPECT_FALSE(ContextId::make("lo", key_of(2), 7).is_of(key_of(1)));
}

TEST(ContextIds, GivenTwoUsesOfTheDomain_WhenNamed_ThenTheyShareAParticipantAndNotAnId)
{
    const DomainUse one{test::own_domain()};
    const DomainUse other{test::own_domain()};
    EXPECT_EQ(one.participant(), other.participant());
    EXPECT_NE(one.context_id(), other.context_id());
}

} // namespace
