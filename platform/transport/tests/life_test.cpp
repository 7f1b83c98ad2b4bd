/// What comes and goes leaves nothing behind, and what stays is told of once.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <iterator>
#include <limits>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "support/context_fixture.h"
#include "support/heap.h"
#include "support/requests.h"
#include "support/watched_source.h"

using namespace testing;

namespace {

/// Counts events by topic, where recording each would be a growing heap of its own.
class Census {
public:
    static int callback(lbm_rcv_t*, lbm_msg_t* msg, void* census)
    {
        auto& self = *static_cast<Census*>(census);
        {
            const std::lock_guard lock{self.mutex_};
            self.topics_[msg->topic_name][msg->type] += 1;
            self.all_[msg->type] += 1;
        }
        self.changed_.notify_all();
        return 0;
    }

    bool wait_for(int type, std::size_t count)
    {
        std::unique_lock lock{mutex_};
        return changed_.wait_for(lock, test::patience, [&] { return all_[type] >= count; });
    }
    std::size_t count(int type)
    {
        const std::lock_guard lock{mutex_};
        return all_[type];
    }
    /// Of how many topics there were so many of that type.
    std::size_t topics_with(int type, std::size_t count)
    {
        const std::lock_guard lock{mutex_};
        std::size_t topics = 0;
        for (auto& [topic, counts] : topics_) {
            topics += counts[type] == count ? 1U : 0U;
        }
        return topics;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::map<std::string, std::map<int, std::size_t>> topics_;
    std::map<int, std::size_t> all_;
};

test::WildcardHandle take_census(const test::ContextHandle& ctx, const char* pattern, Census& census)
{
    lbm_wildcard_rcv_t* raw = nullptr;
    test::check(
        lbm_wildcard_rcv_create(&raw, ctx.get(), pattern, nullptr, nullptr, &Census::callback, &census, nullptr));
    return test::WildcardHandle{raw};
}

std::size_t entries_of(const char* folder)
{
    const std::filesystem::directory_iterator entries{folder};
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

struct Footprint {
    std::size_t threads = entries_of("/proc/self/task");
    std::size_t descriptors = entries_of("/proc/self/fd");
    std::size_t heap = test::heap_bytes();
};

/// Two contexts that meet, send, ask and answer, and go.
void whole_life()
{
    const auto hearing = test::make_context();
    const auto sending = test::make_context();
    test::Recorder heard;
    test::Recorder answers;
    heard.then = [](lbm_msg_t& msg) {
        if (msg.type == LBM_MSG_REQUEST) {
            test::check(lbm_send_response(msg.response, msg.data, msg.len, LBM_MSG_FLUSH));
        }
    };
    const auto receiver = test::make_receiver(hearing, "LIFE.A", heard);
    const auto wildcard = test::make_wildcard(hearing, R"(LIFE\..*)", heard);
    const auto source = test::make_source(sending, "LIFE.A");
    test::connect(source, heard, "LIFE.A");
    const auto request = test::send_request(source, "?", answers);
    ASSERT_TRUE(answers.wait_for(LBM_MSG_RESPONSE));
}

/// What so many whole lives leave behind, once what is made once is there. `heap_bytes` is what each may leave.
void expect_nothing_left(std::size_t heap_bytes)
{
    constexpr std::size_t rounds = 50;
    for (int i = 0; i < 5; ++i) {
        whole_life();
    }
    const Footprint before;
    for (std::size_t i = 0; i < rounds; ++i) {
        whole_life();
    }
    const Footprint after;
    EXPECT_EQ(after.threads, before.threads);
    EXPECT_EQ(after.descriptors, before.descriptors);
    EXPECT_LE(after.heap, before.heap + rounds * heap_bytes) << "before: " << before.heap;
}

TEST(Life, GivenContexts_WhenMadeUsedAndDeletedInALoop_ThenThreadsDescriptorsAndHeapAreAsBefore)
{
    // The engine keeps some 200 to 500 bytes of each round, the less the more rounds; a context is hundreds of kB.
    expect_nothing_left(1'000);
}

TEST(Life, GivenAContextThatStays_WhenOthersComeAndGo_ThenThreadsAndDescriptorsAreAsBefore)
{
    const auto staying = test::make_context();
    test::Recorder recorder;
    const auto receiver = test::make_receiver(staying, "STAYING.A", recorder);
    // While the domain lives, the engine keeps about 400 bytes of every reader and writer that it ever saw there, with
    // us or without. What its gone senders sent is remembered for five minutes, in 1 kB.
    expect_nothing_left(16'000);
}

/// Both sides are in this process: the bound holds for their sum.
class ManySources : public Test {
protected:
    static constexpr std::size_t topics = 100; // topics live as long as their context, see lbm_src_topic_alloc

    void make_and_delete(std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i) {
            test::send(test::make_source(sending, "MANY." + std::to_string(i % topics)), "x");
        }
        made += count;
        EXPECT_TRUE(census.wait_for(LBM_MSG_EOS, made)) << census.count(LBM_MSG_EOS) << " of " << made;
    }

    /// The least of some looks: what the queues and caches of both sides hold varies by megabytes.
    std::size_t heap_after(std::size_t count)
    {
        constexpr std::size_t looks = 8;
        std::size_t least = std::numeric_limits<std::size_t>::max();
        for (std::size_t i = 0; i < looks; ++i) {
            make_and_delete(count / looks);
            least = std::min(least, test::heap_bytes());
        }
        return least;
    }

    Census census;
    std::size_t made = 0;
    test::ContextHandle hearing = test::make_context();
    test::WildcardHandle receiver = take_census(hearing, R"(MANY\..*)", census);
    test::ContextHandle sending = test::make_context();
};

TEST_F(ManySources, GivenAHundredThousand_WhenMadeAndDeletedInTurn_ThenNeitherSideGrows)
{
    test::WatchedSource staying{sending, "MANY.staying"};
    ASSERT_TRUE(staying.wait_for({LBM_SRC_EVENT_CONNECT})); // from then on nothing is missed
    make_and_delete(20'000); // as many closed sources as the catalogue keeps, and then as many again
    const std::size_t before = heap_after(40'000);
    const std::size_t after = heap_after(40'000);
    // Less than the smallest trace of each: 32 bytes on the heap.
    EXPECT_LE(after, before + 40'000 * 22) << "before: " << before;
    EXPECT_EQ(census.count(LBM_MSG_BOS), made + 1);
    EXPECT_EQ(census.count(LBM_MSG_EOS), made);
    EXPECT_EQ(census.count(LBM_MSG_DATA), made);
}

TEST(Life, GivenTenThousandSources_WhenALateJoinerComes_ThenEachBeginsOnceAndEndsOnce)
{
    constexpr std::size_t count = 10'000;
    const auto sending = test::make_context();
    std::vector<test::SourceHandle> sources;
    for (std::size_t i = 0; i < count; ++i) {
        sources.push_back(test::make_source(sending, "LATE." + std::to_string(i)));
    }
    const auto joining = test::make_context();
    Census census;
    const auto receiver = take_census(joining, R"(LATE\..*)", census);
    ASSERT_TRUE(census.wait_for(LBM_MSG_BOS, count)) << census.count(LBM_MSG_BOS);
    EXPECT_EQ(census.topics_with(LBM_MSG_BOS, 1), count);
    sources.clear();
    ASSERT_TRUE(census.wait_for(LBM_MSG_EOS, count)) << census.count(LBM_MSG_EOS);
    EXPECT_EQ(census.topics_with(LBM_MSG_BOS, 1), count);
    EXPECT_EQ(census.topics_with(LBM_MSG_EOS, 1), count);
}

} // namespace
