/// Faults on purpose, between processes: whatever happens, each receiver is told of every number that left a source,
/// as data or as loss, once, in order, between one beginning and one end.
#include <algorithm>
#include <csignal>
#include <random>
#include <set>

#include "fault_scenario.h"

using namespace testing;

namespace test {
namespace {

/// Everything is sent while all are well, and the publisher closes: what the fault does is in the options.
class SendAndClose : public FaultScenario {
protected:
    Account send_and_close(const OptionList& publishing, const OptionList& listening, std::size_t count)
    {
        FaultProcess& listener = start_listener(listening);
        FaultProcess& publisher = start_publisher(publishing);
        publisher.tell("send " + std::to_string(count));
        publisher.tell("close");
        await_ends(listener, publisher);
        Account account = balance({&listener});
        expect_one_life_each(account, 4);
        return account;
    }
};

TEST_F(SendAndClose, CleanClose)
{
    const Account account = send_and_close(patient, patient, 20'000);
    EXPECT_EQ(account.sent, 80'000U);
    expect_all_delivered(account);
}

TEST_F(SendAndClose, CleanCloseInOneOrder)
{
    const Account account = send_and_close(with(patient, {{"source_order", "context"}}), patient, 20'000);
    EXPECT_EQ(account.sent, 80'000U);
    expect_all_delivered(account);
}

TEST_F(FaultScenario, PublisherKilled50Times)
{
    FaultProcess& listener = start_listener(mortal);
    std::vector<FaultProcess*> killed;
    for (int round = 0; round < 50; ++round) {
        FaultProcess& publisher = *killed.emplace_back(&start_publisher(mortal));
        end_in_flow(listener, publisher, "flow 50 1", [&] {
            publisher.child().signal(SIGKILL);
            publisher.child().finish();
        });
    }
    for (const FaultProcess* const publisher : killed) {
        await_ends(listener, *publisher);
        EXPECT_TRUE(heard_from_the_start(listener, *publisher)) << publisher->name();
    }
    EXPECT_TRUE(std::any_of(killed.begin(), killed.end(), [](const auto* p) { return p->unrepeated == 0; }))
        << "nothing could be required of anybody's last messages";
    expect_one_life_each(balance({&listener}), 200);
}

class EngineLoses : public SendAndClose, public WithParamInterface<const char*> {};

TEST_P(EngineLoses, ThenItMendsItAll)
{
    const OptionList options = with(single_frames, {{"fault_transmit_loss_permille", GetParam()}});
    const Account account = send_and_close(options, options, 1'000);
    EXPECT_EQ(account.sent, 4'000U);
    expect_all_delivered(account);
}

INSTANTIATE_TEST_SUITE_P(Permille, EngineLoses, Values("10", "50", "200"),
                         [](const auto& permille) { return std::string{permille.param}; });

// At its start a stream has the most to hold back: what its first repairs are waited for with.
TEST_F(FaultScenario, EngineLosesAtTheStartOf64Streams)
{
    const OptionList losing = with(single_frames, {{"fault_transmit_loss_permille", "50"}});
    FaultProcess& listener = start_listener(losing, "F[A-H]\\.[0-9.]+");
    for (int round = 0; round < 8; ++round) {
        FaultProcess& publisher = start(losing);
        for (char token = 'A'; token <= 'H'; ++token) {
            publisher.tell(std::string{"open F"} + token + '.' + std::to_string(round) + " 1");
        }
        publisher.tell("connected");
        publisher.tell("send 1000");
        publisher.tell("close");
        await_ends(listener, publisher);
    }
    const Account account = balance({&listener});
    EXPECT_EQ(account.sent, 64'000U);
    expect_all_delivered(account);
    expect_one_life_each(account, 64);
}

TEST_F(SendAndClose, EngineLosesLargeFrames200Permille)
{
    const OptionList options = with(patient, {{"fault_transmit_loss_permille", "200"}});
    const Account account = send_and_close(options, options, 5'000);
    EXPECT_EQ(account.sent, 20'000U);
    expect_all_delivered(account);
}

class FramesDropped : public SendAndClose, public WithParamInterface<const char*> {};

TEST_P(FramesDropped, ThenThatIsLossInItsPlace)
{
    const Account account = send_and_close(single_frames, with(patient, {{"fault_drop_permille", GetParam()}}), 5'000);
    EXPECT_GT(account.lost, 0U);
}

INSTANTIATE_TEST_SUITE_P(Permille, FramesDropped, Values("10", "50", "200"),
                         [](const auto& permille) { return std::string{permille.param}; });

TEST_F(SendAndClose, FramesDoubled)
{
    expect_all_delivered(send_and_close(single_frames, with(patient, {{"fault_double_permille", "200"}}), 5'000));
}

TEST_F(SendAndClose, FramesSwapped)
{
    const Account account = send_and_close(single_frames, with(patient, {{"fault_swap_permille", "200"}}), 5'000);
    EXPECT_GT(account.lost, 0U) << "who is late is not waited for";
}

TEST_F(SendAndClose, FramesDroppedDoubledAndSwapped)
{
    const Account account = send_and_close(
        single_frames,
        with(patient,
             {{"fault_drop_permille", "100"}, {"fault_double_permille", "100"}, {"fault_swap_permille", "100"}}),
        5'000);
    EXPECT_GT(account.lost, 0U);
}

TEST_F(FaultScenario, SlowCallbackOverflowsItsQueue)
{
    FaultProcess& listener = start_listener(with(patient, {{"receive_queue_bytes_max", "65536"}}));
    FaultProcess& publisher = start_publisher(patient);
    publisher.tell("send 1");
    await_progress(listener, publisher, 0);
    listener.tell("hold");
    publisher.tell("send 5000");
    listener.tell("overflowed");
    listener.tell("release");
    publisher.tell("close");
    await_ends(listener, publisher);
    const Account account = balance({&listener});
    EXPECT_EQ(account.sent, 20'004U);
    expect_one_life_each(account, 4);
    EXPECT_GT(account.lost, 0U);
}

/// Each time otherwise: closed, which may take its time, killed, or gone without a word.
void leave(unsigned how, FaultProcess& process)
{
    if (how % 3 == 0) {
        process.child().say("delete");
    } else if (how % 3 == 1) {
        process.child().signal(SIGKILL);
        process.child().finish();
    } else {
        process.child().finish();
    }
}

TEST_F(FaultScenario, PublisherRestarted)
{
    FaultProcess& listener = start_listener(mortal);
    std::vector<FaultProcess*> runs;
    for (unsigned run = 0; run < 9; ++run) {
        FaultProcess& publisher = *runs.emplace_back(&start(mortal));
        publisher.tell("open FA.0 2");
        publisher.tell("connected");
        end_in_flow(listener, publisher, "flow 50 1", [&] { leave(run, publisher); });
    }
    for (const FaultProcess* const publisher : runs) {
        await_ends(listener, *publisher);
        EXPECT_TRUE(heard_from_the_start(listener, *publisher)) << publisher->name();
    }
    expect_one_life_each(balance({&listener}), 18);
}

TEST_F(FaultScenario, ExitWithoutCleanUp)
{
    FaultProcess& listener = start_listener(mortal);
    const auto publishers = start_publishers(5, mortal, "flow 5 5");
    for (FaultProcess* const publisher : publishers) {
        await_progress(listener, *publisher, 500);
        EXPECT_EQ(publisher->child().finish(), 0) << "the publisher's exit";
    }
    for (const FaultProcess* const publisher : publishers) {
        await_ends(listener, *publisher);
    }
    expect_one_life_each(balance({&listener}), 20);
}

TEST_F(FaultScenario, LateJoiner)
{
    FaultProcess& early = start_listener(patient);
    FaultProcess& publisher = start_publisher(patient);
    publisher.tell("flow 20 1");
    await_progress(early, publisher, 2'000);
    FaultProcess& late = start_listener(patient);
    await_progress(late, publisher, 2'000);
    publisher.tell("close");
    await_ends(early, publisher);
    await_ends(late, publisher);
    EXPECT_GT(late.heard(publisher, 0)->first, 0U) << "it joined before anything was sent";
    const Account account = balance({&early, &late});
    expect_all_delivered(account);
    expect_one_life_each(account, 8);
}

TEST_F(FaultScenario, TwoProcessesStartAtOnce)
{
    std::vector<FaultProcess*> all;
    for (int round = 0; round < 10; ++round) {
        FaultProcess& one = *all.emplace_back(&spawn(patient));
        FaultProcess& other = *all.emplace_back(&spawn(patient));
        const std::string topics[] = {"FA." + std::to_string(round), "FB." + std::to_string(round)};
        one.child().expect_ok();
        other.child().expect_ok();
        one.tell("open " + topics[0] + " 2");
        other.tell("open " + topics[1] + " 2");
        one.tell("listen " + topics[1] + "\\..*");
        other.tell("listen " + topics[0] + "\\..*");
        for (FaultProcess* const process : {&one, &other}) {
            process->tell("connected");
            process->tell("send 1000");
            process->tell("close");
        }
        await_ends(one, other);
        await_ends(other, one);
        EXPECT_TRUE(heard_from_the_start(one, other) && heard_from_the_start(other, one));
        one.child().finish(); // or it would be the next ones' receiver
        other.child().finish();
    }
    const Account account = balance(all);
    expect_all_delivered(account);
    expect_one_life_each(account, 40);
}

class RestartStorm : public FaultScenario {
protected:
    static constexpr unsigned slots = 16;
    static constexpr unsigned restarts = 32;

    void start_in(unsigned slot)
    {
        FaultProcess& process = start(mortal);
        process.tell("listen FA\\.[0-9]+\\.[0-9]+");
        process.tell("open FA." + std::to_string(slot) + " 2");
        process.tell("flow 1 100");
        running[slot] = &process;
    }

    void excuse_who_does_not_know(FaultProcess& leaver) const
    {
        leaver.excused = {&leaver};
        for (const FaultProcess* const other : running) {
            const Heard* const heard = other->heard(leaver, 0);
            if (heard == nullptr || heard->delivered == 0) {
                leaver.excused.insert(other);
            }
        }
    }

    /// The kernel has thrown packets away, be it before the leaver came.
    void excuse_who_lost_packets(FaultProcess& leaver) const
    {
        for (const FaultProcess* const other : running) {
            if (other != &leaver && packets_dropped(other->pid()) > 0) {
                leaver.excused.insert(other);
            }
        }
    }

    template <class Visit>
    void for_each_pair(Visit visit)
    {
        for (FaultProcess* const listener : running) {
            for (FaultProcess* const sender : running) {
                visit(*listener, *sender);
            }
        }
    }

    std::vector<FaultProcess*> running = std::vector<FaultProcess*>(slots);
    std::vector<FaultProcess*> gone;
};

TEST_F(RestartStorm, RestartStormOf16Processes)
{
    for (unsigned slot = 0; slot < slots; ++slot) {
        start_in(slot);
    }
    std::mt19937 random{16};
    std::size_t bound = 0; ///< receivers that are asked for all
    for (unsigned restart = 0; restart < restarts; ++restart) {
        const auto slot = static_cast<unsigned>(random() % slots);
        FaultProcess& leaver = *gone.emplace_back(running[slot]);
        excuse_who_does_not_know(leaver);
        leave(static_cast<unsigned>(random()), leaver);
        excuse_who_lost_packets(leaver);
        bound += slots - leaver.excused.size();
        start_in(slot);
    }
    for_each_pair([](const FaultProcess& listener, const FaultProcess& sender) { await_progress(listener, sender); });
    for (FaultProcess* const process : running) {
        process->tell("close");
    }
    for_each_pair([](const FaultProcess& listener, const FaultProcess& sender) { await_ends(listener, sender); });
    for (FaultProcess* const listener : running) {
        await(listener->name() + " hears of the end of all who have left", [&] {
            const auto all = listener->heard();
            return std::all_of(all.begin(), all.end(), [](const Heard& h) { return h.ends == h.begins; });
        });
    }
    for (FaultProcess* const process : gone) {
        if (process->child().pid() > 0) {
            process->child().finish();
        }
        check_unfinished(*process);
    }
    balance(running);
    EXPECT_GT(bound, 0U) << "nothing could be required of anybody's last messages";
}

} // namespace
} // namespace test
