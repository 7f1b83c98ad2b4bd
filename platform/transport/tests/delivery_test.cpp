#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>

#include "support/context_fixture.h"

using namespace testing;

namespace {

std::vector<std::string> numbered(std::size_t count)
{
    std::vector<std::string> payloads;
    for (std::size_t i = 0; i < count; ++i) {
        payloads.push_back("message " + std::to_string(i));
    }
    return payloads;
}

/// The data after the greetings that `connect` sends.
std::vector<std::string> without_hello(std::vector<std::string> payloads)
{
    std::erase(payloads, "hello");
    return payloads;
}

TEST(Delivery, GivenAnExactReceiver_WhenASourceSends_ThenItsDataArrivesInOrder)
{
    const auto ctx = test::make_context();
    test::Recorder recorder;
    const auto receiver = test::make_receiver(ctx, "ORDER.A", recorder);
    const auto source = test::make_source(ctx, "ORDER.A");
    test::connect(source, recorder, "ORDER.A");
    const auto sent = numbered(10'000);
    for (const auto& payload : sent) {
        test::send(source, payload);
    }
    EXPECT_TRUE(recorder.wait([&] { return without_hello(recorder.payloads()).size() >= sent.size(); }));
    EXPECT_EQ(without_hello(recorder.payloads()), sent);
}

TEST(Delivery, GivenSourcesOfOneToken_WhenTheySendInTurns_ThenAReceiverOfAllHearsThemInThatOrder)
{
    const auto sending = test::make_context();
    const auto hearing = test::make_context();
    test::Recorder recorder;
    const auto receiver = test::make_wildcard(hearing, R"(TURNS\..*)", recorder);
    std::vector<test::SourceHandle> sources;
    for (const char* const topic : {"TURNS.A", "TURNS.B", "TURNS.C"}) {
        sources.push_back(test::make_source(sending, topic));
        test::connect(sources.back(), recorder, topic);
    }
    const auto sent = numbered(3'000);
    for (std::size_t i = 0; i < sent.size(); ++i) {
        test::send(sources[i * 7 % 3], sent[i]);
    }
    EXPECT_TRUE(recorder.wait([&] { return without_hello(recorder.payloads()).size() >= sent.size(); }));
    EXPECT_EQ(without_hello(recorder.payloads()), sent);
}

TEST(Delivery, GivenTopicsUnderATokenThatNobodyWants_WhenTheySend_ThenNothingOfThemComesHere)
{
    const auto sending = test::make_context();
    const auto hearing = test::make_context();
    test::Recorder recorder;
    const auto receiver = test::make_wildcard(hearing, R"(WANTED\..*)", recorder);
    const auto wanted = test::make_source(sending, "WANTED.A");
    const auto unwanted = test::make_source(sending, "UNWANTED.A");
    test::connect(wanted, recorder, "WANTED.A");
    for (int i = 0; i < 1'000; ++i) {
        test::send(unwanted, "x");
    }
    test::send(wanted, "last"); // of one sender, so that what came before has come
    ASSERT_TRUE(recorder.wait([&] { return recorder.payloads().back() == "last"; }));
    lbm_context_stats_t stats{};
    test::check(lbm_context_retrieve_stats(hearing.get(), &stats));
    EXPECT_EQ(stats.messages_received, recorder.count(LBM_MSG_DATA));
    EXPECT_EQ(stats.messages_unwanted, 0U);
}

TEST(Delivery, GivenASource_WhenItBeginsSendsAndIsDeleted_ThenOneBosComesFirstAndOneEosLast)
{
    const auto ctx = test::make_context();
    test::Recorder recorder;
    const auto receiver = test::make_receiver(ctx, "LIFE.A", recorder);
    auto source = test::make_source(ctx, "LIFE.A");
    test::connect(source, recorder, "LIFE.A");
    source.reset();
    ASSERT_TRUE(recorder.wait_for(LBM_MSG_EOS));
    EXPECT_EQ(recorder.seen().front().type, LBM_MSG_BOS);
    EXPECT_EQ(recorder.seen().back().type, LBM_MSG_EOS);
    EXPECT_EQ(recorder.count(LBM_MSG_BOS), 1U);
    EXPECT_EQ(recorder.count(LBM_MSG_EOS), 1U);
}

TEST(Delivery, GivenASourceThatNeverSends_WhenAReceiverComesLater_ThenItIsToldOfTheSource)
{
    const auto sender = test::make_context();
    const auto source = test::make_source(sender, "QUIET.A");
    const auto ctx = test::make_context();
    test::Recorder recorder;
    const auto receiver = test::make_receiver(ctx, "QUIET.A", recorder);
    EXPECT_TRUE(recorder.wait_for(LBM_MSG_BOS));
}

TEST(Delivery, GivenAKnownSource_WhenAnotherReceiverIsMadeOnTheContext_ThenItGetsItsOwnBos)
{
    const auto ctx = test::make_context();
    test::Recorder first;
    const auto receiver = test::make_receiver(ctx, "TWO.A", first);
    const auto source = test::make_source(ctx, "TWO.A");
    test::connect(source, first, "TWO.A");
    test::Recorder second;
    const auto wildcard = test::make_wildcard(ctx, "TWO\\..*", second);
    ASSERT_TRUE(second.wait_for(LBM_MSG_BOS));
    test::send(source, "later");
    // What connected the first may still be on its way when the second begins.
    ASSERT_TRUE(second.wait([&] { return !second.payloads().empty() && second.payloads().back() == "later"; }));
    EXPECT_EQ(first.count(LBM_MSG_BOS), 1U);
    EXPECT_EQ(second.count(LBM_MSG_BOS), 1U);
}

TEST(Delivery, GivenAWildcardReceiver_WhenTopicsMatchAndDoNot_ThenOnlyTheMatchingOnesArrive)
{
    const auto ctx = test::make_context();
    test::Recorder recorder;
    const auto receiver = test::make_wildcard(ctx, "WILD\\.4\\..*", recorder);
    const auto other = test::make_source(ctx, "WILD.5.A");
    const auto match = test::make_source(ctx, "WILD.4.A");
    test::send(other, "no");
    test::connect(match, recorder, "WILD.4.A");
    test::send(other, "no");
    test::send(match, "last");
    ASSERT_TRUE(recorder.wait([&] { return !recorder.payloads().empty() && recorder.payloads().back() == "last"; }));
    EXPECT_THAT(recorder.seen(), Each(Field(&test::Seen::topic, "WILD.4.A")));
}

TEST(Delivery, GivenOverlappingPatterns_WhenASourceSends_ThenEachReceiverGetsEachMessageOnce)
{
    const auto ctx = test::make_context();
    test::Recorder narrow;
    test::Recorder wide;
    const auto exact = test::make_receiver(ctx, "OVER.A", narrow);
    const auto all = test::make_wildcard(ctx, ".*", wide);
    const auto source = test::make_source(ctx, "OVER.A");
    test::connect(source, narrow, "OVER.A");
    test::connect(source, wide, "OVER.A");
    const auto sent = numbered(1'000);
    for (const auto& payload : sent) {
        test::send(source, payload);
    }
    EXPECT_TRUE(wide.wait([&] { return without_hello(wide.payloads()).size() >= sent.size(); }));
    EXPECT_TRUE(narrow.wait([&] { return without_hello(narrow.payloads()).size() >= sent.size(); }));
    EXPECT_EQ(without_hello(narrow.payloads()), sent);
    EXPECT_EQ(without_hello(wide.payloads()), sent);
}

TEST(Delivery, GivenTwoReadersOfAStream_WhenTheOneThatServedGoes_ThenTheOtherGoesOnWithoutLoss)
{
    const auto ctx = test::make_context();
    test::Recorder narrow;
    test::Recorder wide;
    auto exact = test::make_receiver(ctx, "HAND.A", narrow);
    const auto source = test::make_source(ctx, "HAND.A");
    test::connect(source, narrow, "HAND.A");
    const auto all = test::make_wildcard(ctx, "HA.*", wide);
    test::connect(source, wide, "HAND.A");
    exact.reset();
    test::send(source, "after");
    ASSERT_TRUE(wide.wait([&] { return wide.payloads().back() == "after"; }));
    EXPECT_EQ(wide.count(LBM_MSG_UNRECOVERABLE_LOSS) + wide.count(LBM_MSG_UNRECOVERABLE_LOSS_BURST), 0U);
    EXPECT_EQ(wide.count(LBM_MSG_BOS), 1U);
}

TEST(Delivery, GivenASendingContext_WhenItIsDeleted_ThenEachOfItsSourcesEndsOnce)
{
    auto sender = test::make_context();
    const auto ctx = test::make_context();
    test::Recorder recorder;
    const auto receiver = test::make_wildcard(ctx, "MANY\\..*", recorder);
    std::vector<test::SourceHandle> sources;
    for (int i = 0; i < 300; ++i) {
        sources.push_back(test::make_source(sender, "MANY." + std::to_string(i)));
    }
    ASSERT_TRUE(recorder.wait_for(LBM_MSG_BOS, 300));
    sender.reset();
    ASSERT_TRUE(recorder.wait_for(LBM_MSG_EOS, 300));
    EXPECT_EQ(recorder.count(LBM_MSG_BOS), 300U);
    EXPECT_EQ(recorder.count(LBM_MSG_EOS), 300U);
}

TEST(Delivery, GivenPayloadsOfManySizes_WhenSent_ThenTheyArriveUnchanged)
{
    const auto ctx = test::make_context();
    test::Recorder recorder;
    const auto receiver = test::make_receiver(ctx, "SIZE.A", recorder);
    const auto source = test::make_source(ctx, "SIZE.A");
    test::connect(source, recorder, "SIZE.A");
    std::vector<std::string> sent;
    for (const std::size_t size : {0UL, 1UL, 59'000UL, 60'000UL, 70'000UL, 1UL << 20U, 8UL << 20U}) {
        sent.push_back(std::string(size, static_cast<char>('a' + sent.size())));
        test::send(source, sent.back());
    }
    ASSERT_TRUE(recorder.wait([&] { return without_hello(recorder.payloads()).size() >= sent.size(); }));
    EXPECT_TRUE(without_hello(recorder.payloads()) == sent);
}

TEST(Delivery, GivenARetainedMessage_WhenTheCallbackHasReturned_ThenItIsStillWhole)
{
    const auto ctx = test::make_context();
    test::Recorder recorder;
    std::atomic<lbm_msg_t*> kept{nullptr};
    recorder.then = [&](lbm_msg_t& msg) {
        if (msg.type == LBM_MSG_DATA && kept == nullptr) {
            lbm_msg_retain(&msg);
            kept = &msg;
        }
    };
    auto receiver = test::make_receiver(ctx, "KEEP.A", recorder);
    auto source = test::make_source(ctx, "KEEP.A");
    test::connect(source, recorder, "KEEP.A");
    ASSERT_TRUE(recorder.wait([&] { return kept != nullptr; }));
    source.reset();
    receiver.reset();
    const lbm_msg_t& msg = *kept;
    EXPECT_EQ(std::string(msg.data, msg.len), "hello");
    EXPECT_STREQ(msg.topic_name, "KEEP.A");
    EXPECT_THAT(msg.source, StartsWith("LBMDDS:127.0.0.1:"));
    EXPECT_EQ(msg.response, nullptr);
    EXPECT_EQ(lbm_msg_delete(kept), LBM_OK);
}

TEST(Delivery, GivenContextsOfDifferentTags_WhenOneSends_ThenTheProcessRefusesTheSecondDomain)
{
    const auto ctx = test::make_context();
    EXPECT_THROW(test::make_context({{"domain_tag", "another"}}), std::runtime_error);
    EXPECT_EQ(lbm_errnum(), LBM_EOP);
}

} // namespace
