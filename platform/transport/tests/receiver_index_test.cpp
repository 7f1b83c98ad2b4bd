/// Which receivers a topic is tried by and which it is for.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/transport/source/receiver_index.h"

using namespace qx::transport;
using namespace testing;

namespace {

std::shared_ptr<Receiver> exact(const std::string& topic)
{
    return std::make_shared<Receiver>(topic, Callback{}, nullptr);
}

class ReceiverIndexTest : public Test {
protected:
    std::shared_ptr<Receiver> wildcard(const std::string& text)
    {
        auto owned = std::make_unique<TopicPattern>(text);
        patterns.push_back(owned.get());
        return std::make_shared<Receiver>(std::move(owned), Callback{}, nullptr);
    }

    std::vector<const TopicPattern*> patterns; ///< as long as their receivers live
    ReceiverIndex index;
};

TEST_F(ReceiverIndexTest, GivenNoReceiver_WhenATopicIsLookedUp_ThenItIsForNobody)
{
    EXPECT_THAT(index.matching("A"), IsEmpty());
    index.remove(exact("A"));
    EXPECT_THAT(index.matching(""), IsEmpty());
}

TEST_F(ReceiverIndexTest, GivenReceiversOfAllKinds_WhenATopicIsLookedUp_ThenThoseThatMatchAreFoundInTheirOrder)
{
    const auto anything = wildcard(".*");
    const auto whole = exact("A.B");
    const auto beginning = wildcard(R"(A\..*)");
    const auto other = wildcard(R"(A\.C.*)");
    const auto shorter = exact("A");
    for (const auto& receiver : {beginning, whole, anything, other, shorter}) {
        index.add(receiver);
    }
    EXPECT_THAT(index.matching("A.B"), ElementsAre(beginning, whole, anything));
    EXPECT_THAT(index.matching("A.CD"), ElementsAre(beginning, anything, other));
    EXPECT_THAT(index.matching("A"), ElementsAre(anything, shorter));
    EXPECT_THAT(index.matching(""), ElementsAre(anything));
}

TEST_F(ReceiverIndexTest, GivenAReceiverThatWasAddedTwice_WhenItIsRemoved_ThenTheOthersStay)
{
    const auto one = exact("A");
    const auto another = exact("A");
    index.add(one);
    index.add(another);
    index.add(one);
    index.remove(one);
    EXPECT_THAT(index.matching("A"), ElementsAre(another));
}

TEST_F(ReceiverIndexTest, GivenAlternativesAtTheTop_WhenATopicOfEitherIsLookedUp_ThenThePatternIsFound)
{
    const auto either = wildcard("A.*|B.*");
    index.add(either);
    EXPECT_THAT(index.matching("AX"), ElementsAre(either));
    EXPECT_THAT(index.matching("BX"), ElementsAre(either));
    EXPECT_THAT(index.matching("CX"), IsEmpty());
}

TEST_F(ReceiverIndexTest, GivenAThousandPatternsOfDifferentBeginnings_WhenATopicIsLookedUp_ThenFewAreTried)
{
    std::vector<std::shared_ptr<Receiver>> receivers;
    for (int i = 1000; i < 2000; ++i) {
        receivers.push_back(wildcard("M" + std::to_string(i) + R"(\..*)"));
        index.add(receivers.back());
    }
    EXPECT_THAT(index.matching("M1234.X"), ElementsAre(receivers[234]));
    std::uint64_t attempts = 0;
    for (const TopicPattern* pattern : patterns) {
        attempts += pattern->attempts();
    }
    EXPECT_EQ(attempts, 1U);
}

} // namespace
