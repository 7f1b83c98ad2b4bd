/// Order among all sources of a context, whatever their first tokens.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include "support/context_fixture.h"

using namespace testing;

namespace {

const std::array<std::string, 4> topics{"OA.1", "OB.1", "OC.1", "OC.2"};

class SourceOrder : public Test {
protected:
    void connect_all(const test::Recorder& recorder) const
    {
        for (std::size_t i = 0; i < topics.size(); ++i) {
            test::connect(sources[i], recorder, topics[i]);
        }
    }
    /// From sources drawn at random, numbered throughout.
    void send_numbers(std::size_t count) const
    {
        std::mt19937 random{7};
        for (std::size_t n = 0; n < count; ++n) {
            test::send(sources[random() % sources.size()], std::to_string(n), n + 1 == count ? LBM_MSG_FLUSH : 0);
        }
    }
    /// Whether all numbers came, and in their order.
    static void expect_numbers(const test::Recorder& recorder, std::size_t count)
    {
        std::vector<std::string> numbers;
        ASSERT_TRUE(recorder.wait([&] {
            numbers = recorder.payloads();
            std::erase(numbers, "hello");
            return numbers.size() == count;
        }));
        for (std::size_t n = 0; n < count; ++n) {
            ASSERT_EQ(numbers[n], std::to_string(n));
        }
    }
    /// Of all sources, whichever receivers of `hearing` record them.
    void expect_order(const test::Recorder& recorder) const
    {
        constexpr std::size_t many = 20'000;
        connect_all(recorder);
        send_numbers(many);
        expect_numbers(recorder, many);
        EXPECT_EQ(stats_of(hearing).copies_dropped, 0U);
    }
    static lbm_context_stats_t stats_of(const test::ContextHandle& context)
    {
        lbm_context_stats_t stats{};
        test::check(lbm_context_retrieve_stats(context.get(), &stats));
        return stats;
    }

    test::ContextHandle sending = test::make_context({{"source_order", "context"}});
    test::ContextHandle hearing = test::make_context();
    std::vector<test::SourceHandle> sources = [this] {
        std::vector<test::SourceHandle> made;
        for (const std::string& topic : topics) {
            made.push_back(test::make_source(sending, topic));
        }
        return made;
    }();
};

TEST_F(SourceOrder, GivenAReceiverOfAll_WhenSourcesTakeTurns_ThenItHearsThemInTheirOrder)
{
    test::Recorder all;
    const auto receiver = test::make_wildcard(hearing, "O[ABC]\\..*", all);
    expect_order(all);
}

TEST_F(SourceOrder, GivenReceiversOfDifferentFirstTokens_WhenSourcesTakeTurns_ThenTheirContextKeepsTheOrder)
{
    test::Recorder all;
    const auto one = test::make_receiver(hearing, "OA.1", all);
    const auto other = test::make_wildcard(hearing, "OB\\..*", all);
    const auto rest = test::make_wildcard(hearing, "OC\\..*", all);
    expect_order(all);
}

TEST_F(SourceOrder, GivenAReceiverOfOneTopic_WhenOthersAreSent_ThenTheyComeAlongUnwanted)
{
    test::Recorder one;
    const auto receiver = test::make_receiver(hearing, topics[0], one);
    test::connect(sources[0], one, topics[0]);
    test::send(sources[1], "unwanted", LBM_MSG_FLUSH);
    test::send(sources[0], "wanted", LBM_MSG_FLUSH);
    ASSERT_TRUE(one.wait([&] { return one.payloads().back() == "wanted"; }));
    EXPECT_EQ(stats_of(hearing).messages_unwanted, 1U);
    EXPECT_EQ(one.count(LBM_MSG_BOS), 1U);
}

TEST_F(SourceOrder, GivenNoReceiverForAWhile_WhenOneComesAgain_ThenWhatWasSentMeanwhileIsNoLoss)
{
    test::Recorder first;
    test::Recorder second;
    auto receiver = test::make_receiver(hearing, topics[0], first);
    test::connect(sources[0], first, topics[0]);
    receiver.reset();
    test::send(sources[0], "unheard", LBM_MSG_FLUSH);
    receiver = test::make_receiver(hearing, topics[0], second);
    test::connect(sources[0], second, topics[0]);
    sources[0].reset();
    ASSERT_TRUE(second.wait_for(LBM_MSG_EOS));
    EXPECT_EQ(second.count(LBM_MSG_UNRECOVERABLE_LOSS) + second.count(LBM_MSG_UNRECOVERABLE_LOSS_BURST), 0U);
    EXPECT_EQ(second.count(LBM_MSG_BOS), 1U);
    EXPECT_EQ(stats_of(hearing).messages_unwanted, 0U) << "without a receiver nothing is to come";
}

} // namespace
