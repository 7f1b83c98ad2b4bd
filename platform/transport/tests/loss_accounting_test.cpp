/// Whatever happens to frames on the way: what a source sent was either delivered or is told of as lost, once, in
/// order.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <random>
#include <vector>

#include "platform/transport/source/source_tracker.h"

using namespace qx::transport;

namespace {

/// What a fault does to frames, in percent.
struct Faults {
    const char* name;
    unsigned dropped;
    unsigned doubled;
    unsigned delayed; ///< behind up to four later ones
};

/// Adds up what is said of each source, and holds its order.
class Ledger : public SourceEvents {
public:
    struct Account {
        std::uint32_t first = 0;
        std::uint32_t next = 0; ///< after the last number that was delivered or lost
        std::uint32_t delivered = 0;
        std::uint32_t lost = 0;
        int ends = 0;
    };

    void begun(const SourcePtr& s, std::uint32_t next) override
    {
        EXPECT_TRUE(accounts.find(s->topic) == accounts.end()) << "a second beginning";
        accounts[s->topic] = {next, next, 0, 0, 0};
    }
    void data(const SourcePtr& s, const WireMessage& m) override { add(s, m.sequence, m.sequence).delivered += 1; }
    void lost(const SourcePtr& s, std::uint32_t first, std::uint32_t last) override
    {
        add(s, first, last).lost += last - first + 1;
    }
    void ended(const SourcePtr& s, std::uint32_t next) override
    {
        Account& account = accounts.at(s->topic);
        EXPECT_EQ(account.next, next);
        ++account.ends;
    }

    std::map<std::string, Account> accounts;

private:
    Account& add(const SourcePtr& s, std::uint32_t first, std::uint32_t last)
    {
        Account& account = accounts.at(s->topic);
        EXPECT_EQ(account.ends, 0) << "something after the end";
        EXPECT_EQ(first, account.next) << "a hole or an overlap";
        account.next = last + 1;
        return account;
    }
};

class LossAccounting : public testing::TestWithParam<Faults> {
protected:
    using Frames = std::vector<Frame>;
    static constexpr std::uint32_t sources = 5;

    /// Frames of random messages of all sources, each of which ends, and closes what came with its last number.
    Frames sent(std::mt19937& random)
    {
        Frames frames(400);
        std::uint64_t number = 2;
        for (Frame& frame : frames) {
            frame.stream_sequence = number++;
            frame.next_source = sources;
            for (auto left = random() % 8; left > 0; --left) {
                const auto source = static_cast<std::uint32_t>(random() % sources);
                frame.messages.push_back({Kind::data, source, next[source]++, topics[source], {}, "x"});
            }
        }
        return frames;
    }

    /// What arrives, and in which order.
    static Frames on_the_way(const Frames& frames, const Faults& faults, std::mt19937& random)
    {
        std::vector<std::pair<std::size_t, const Frame*>> arriving;
        const auto happens = [&](unsigned percent) { return random() % 100 < percent; };
        for (std::size_t i = 0; i < frames.size(); ++i) {
            const std::size_t due = 10 * i + (happens(faults.delayed) ? 10 * (random() % 4) + 5 : 0);
            if (!happens(faults.dropped)) {
                arriving.emplace_back(due, &frames[i]);
            }
            if (happens(faults.doubled)) {
                arriving.emplace_back(due + random() % 40, &frames[i]);
            }
        }
        std::stable_sort(arriving.begin(), arriving.end(), [](auto& a, auto& b) { return a.first < b.first; });
        Frames out;
        std::transform(arriving.begin(), arriving.end(), std::back_inserter(out), [](auto& a) { return *a.second; });
        return out;
    }

    Frame of_all(Kind kind, std::uint64_t number) const
    {
        Frame frame{number, sources, {}, 0};
        for (std::uint32_t source = 0; source < sources; ++source) {
            frame.messages.push_back({kind, source, next[source], topics[source], {}, {}});
        }
        return frame;
    }

    const std::vector<std::string> topics{"T.0", "T.1", "T.2", "T.3", "T.4"};
    /// One run: `heard` is the frame that comes before the faults begin. What was lost.
    std::uint32_t lose_on_the_way(std::mt19937& random, const Frame& heard)
    {
        const std::vector<std::uint32_t> first = next;
        Ledger ledger;
        SourceTracker tracker{ledger};
        tracker.frame(stream, 1, heard, now);
        const Frames frames = sent(random);
        for (const Frame& frame : on_the_way(frames, GetParam(), random)) {
            tracker.frame(stream, 1, frame, now);
        }
        tracker.frame(stream, 1, of_all(Kind::close, frames.size() + 2), now);
        EXPECT_EQ(ledger.accounts.size(), sources);
        std::uint32_t lost = 0;
        for (std::uint32_t source = 0; source < sources; ++source) {
            const Ledger::Account& account = ledger.accounts[topics[source]];
            EXPECT_EQ(account.first, first[source]);
            EXPECT_EQ(account.delivered + account.lost, next[source] - first[source]);
            EXPECT_EQ(account.ends, 1);
            lost += account.lost;
        }
        return lost;
    }

    /// A late frame is no use any more; a second copy does no harm.
    static bool loses() { return GetParam().dropped + GetParam().delayed > 0; }

    const StreamId stream{{{1, 2, 3}}, 0};
    const Clock::time_point now{std::chrono::hours{1}};
    std::vector<std::uint32_t> next;
};

TEST_P(LossAccounting, GivenAFault_WhenSourcesSendAndClose_ThenDeliveredAndLostAreWhatWasSent)
{
    constexpr std::uint32_t before_the_wrap = 0xFFFF'FF80;
    std::uint32_t lost = 0;
    for (unsigned seed = 1; seed <= 100; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random{seed};
        next.assign(sources, before_the_wrap);
        lost += lose_on_the_way(random, of_all(Kind::sync, 1));
    }
    EXPECT_EQ(lost > 0, loses());
}

TEST_P(LossAccounting, GivenAFaultAndNewSources_WhenTheySendAndClose_ThenTheirFirstMessagesCountToo)
{
    std::uint32_t lost = 0;
    for (unsigned seed = 1; seed <= 100; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random{seed};
        next.assign(sources, 0);
        lost += lose_on_the_way(random, Frame{1, 0, {{Kind::sync, 0, 0, topics[0], {}, {}}}, 0});
    }
    EXPECT_EQ(lost > 0, loses());
}

INSTANTIATE_TEST_SUITE_P(Faults, LossAccounting,
                         testing::Values(Faults{"none", 0, 0, 0}, Faults{"drop1", 1, 0, 0}, Faults{"drop5", 5, 0, 0},
                                         Faults{"drop20", 20, 0, 0}, Faults{"doubled", 0, 20, 0},
                                         Faults{"reordered", 0, 0, 20}, Faults{"all", 20, 20, 20}),
                         [](const auto& fault) { return std::string{fault.param.name}; });

} // namespace
