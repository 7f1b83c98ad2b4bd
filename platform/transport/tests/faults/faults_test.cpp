/// Faults on purpose, between processes: whatever happens, each receiver is told of every number that left a source,
/// as data or as loss, once, in order, between one beginning and one end.
#include <algorithm>
#include <csignal>
#include <random>
#include <thread>

#include "scenario.h"

using namespace testing;

namespace {

using test::Account;
using test::FaultProcess;
using test::OptionList;

/// No stall of a busy machine may look like a death.
const OptionList patient{{"lease_ms", "60000"}};
/// For deaths that are waited for. A stall of several seconds is taken for one, too: then a source begins once more.
const OptionList mortal{{"lease_ms", "5000"}};
/// For stops that are to be taken for deaths.
const OptionList hasty{{"lease_ms", "1500"}};
constexpr std::chrono::milliseconds short_stop{100};
/// One message a frame: with many, a share of the frames would be few.
const OptionList single_frames{{"lease_ms", "60000"}, {"flush_gap_us", "0"}};

OptionList with(OptionList options, std::initializer_list<OptionList::value_type> more)
{
    options.insert(options.end(), more);
    return options;
}

/// How long a fault lasts, not what a test waits for.
void last(std::chrono::milliseconds time)
{
    std::this_thread::sleep_for(time);
}

class FaultScenario : public test::Faults {
protected:
    FaultProcess& start_listener(const OptionList& options, const std::string& pattern = "F[AB]\\.[0-9.]+")
    {
        FaultProcess& listener = start(options);
        listener.tell("listen " + pattern);
        return listener;
    }

    /// Two sources on each of two streams, which a receiver has found.
    FaultProcess& start_publisher(const OptionList& options)
    {
        FaultProcess& publisher = start(options);
        const std::string number = std::to_string(processes.size());
        publisher.tell("open FA." + number + " 2");
        publisher.tell("open FB." + number + " 2");
        publisher.tell("connected");
        return publisher;
    }

    /// Everything is sent while all are well, and the publisher closes: what the fault does is in the options.
    Account send_and_close(const OptionList& publishing, const OptionList& listening, std::size_t count)
    {
        FaultProcess& listener = start_listener(listening);
        FaultProcess& publisher = start_publisher(publishing);
        publisher.tell("send " + std::to_string(count));
        publisher.tell("close");
        await_ends(listener, publisher);
        return balance({&listener});
    }
};

void expect_all_delivered(const Account& account)
{
    EXPECT_EQ(account.delivered, account.sent);
    EXPECT_EQ(account.lost, 0U);
}

TEST_F(FaultScenario, CleanClose)
{
    const Account account = send_and_close(patient, patient, 20'000);
    EXPECT_EQ(account.sent, 80'000U);
    EXPECT_EQ(account.begins, 4U);
    expect_all_delivered(account);
}

TEST_F(FaultScenario, PublisherKilled50Times)
{
    FaultProcess& listener = start_listener(mortal);
    std::vector<FaultProcess*> killed;
    for (int round = 0; round < 50; ++round) {
        FaultProcess& publisher = *killed.emplace_back(&start_publisher(mortal));
        publisher.tell("flow 200 1");
        await_progress(listener, publisher, 500);
        publisher.child().signal(SIGKILL);
    }
    for (const FaultProcess* const publisher : killed) {
        await_ends(listener, *publisher);
        EXPECT_TRUE(heard_from_the_start(listener, *publisher)) << publisher->name();
    }
    const Account account = balance({&listener});
    EXPECT_GE(account.begins, 200U);
}

TEST_F(FaultScenario, PublisherStopped50Times)
{
    FaultProcess& listener = start_listener(hasty);
    std::vector<FaultProcess*> publishers;
    for (int i = 0; i < 5; ++i) {
        publishers.push_back(&start_publisher(hasty));
        publishers.back()->tell("flow 10 5");
    }
    for (int round = 0; round < 10; ++round) {
        for (FaultProcess* const publisher : publishers) {
            publisher->child().stop();
        }
        if (round % 2 == 0) {
            last(short_stop);
        }
        for (FaultProcess* const publisher : publishers) {
            if (round % 2 != 0) {
                await_ends(listener, *publisher);
            }
            publisher->child().signal(SIGCONT);
        }
        for (const FaultProcess* const publisher : publishers) {
            await_progress(listener, *publisher);
        }
    }
    for (FaultProcess* const publisher : publishers) {
        publisher->tell("close");
        await_ends(listener, *publisher);
    }
    const Account account = balance({&listener});
    EXPECT_GE(account.begins, 20U * 6U) << "every source returned five times";
    EXPECT_EQ(account.died, 0U);
}

TEST_F(FaultScenario, ReceiverStopped10Times)
{
    FaultProcess& listener = start_listener(hasty);
    FaultProcess& publisher = start_publisher(hasty);
    publisher.tell("flow 100 1");
    for (int round = 0; round < 10; ++round) {
        listener.child().stop();
        if (round % 2 == 0) {
            last(short_stop);
        } else {
            await("the publisher misses its receiver", [&] { return publisher.board().connected == 0; });
        }
        listener.child().signal(SIGCONT);
        await_progress(listener, publisher);
    }
    publisher.tell("close");
    await_ends(listener, publisher);
    EXPECT_EQ(balance({&listener}).died, 0U);
}

class EngineLoses : public FaultScenario, public WithParamInterface<const char*> {};

TEST_P(EngineLoses, ThenItMendsItAll)
{
    const OptionList options = with(single_frames, {{"fault_transmit_loss_permille", GetParam()}});
    const Account account = send_and_close(options, options, 1'000);
    EXPECT_EQ(account.sent, 4'000U);
    expect_all_delivered(account);
}

INSTANTIATE_TEST_SUITE_P(Permille, EngineLoses, Values("10", "50", "200"),
                         [](const auto& permille) { return std::string{permille.param}; });

// Frames of several kB are another matter: under much loss the engine now and then gives one up. That is told as loss.
TEST_F(FaultScenario, EngineLosesLargeFrames200Permille)
{
    const OptionList options = with(patient, {{"fault_transmit_loss_permille", "200"}});
    const Account account = send_and_close(options, options, 5'000);
    EXPECT_LE(account.lost, account.sent / 20) << "the engine mends nearly all";
}

class FramesDropped : public FaultScenario, public WithParamInterface<const char*> {};

TEST_P(FramesDropped, ThenThatIsLossInItsPlace)
{
    const Account account = send_and_close(single_frames, with(patient, {{"fault_drop_permille", GetParam()}}), 5'000);
    EXPECT_GT(account.lost, 0U);
}

INSTANTIATE_TEST_SUITE_P(Permille, FramesDropped, Values("10", "50", "200"),
                         [](const auto& permille) { return std::string{permille.param}; });

TEST_F(FaultScenario, FramesDoubled)
{
    expect_all_delivered(send_and_close(single_frames, with(patient, {{"fault_double_permille", "200"}}), 5'000));
}

TEST_F(FaultScenario, FramesSwapped)
{
    const Account account = send_and_close(single_frames, with(patient, {{"fault_swap_permille", "200"}}), 5'000);
    EXPECT_GT(account.lost, 0U) << "who is late is not waited for";
}

TEST_F(FaultScenario, FramesDroppedDoubledAndSwapped)
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
    EXPECT_GT(account.lost, 0U);
}

/// Each time otherwise: closed, which may take its time, killed, or gone without a word.
void leave(unsigned how, FaultProcess& process)
{
    if (how % 3 == 0) {
        process.child().say("delete");
    } else if (how % 3 == 1) {
        process.child().signal(SIGKILL);
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
        publisher.tell("flow 100 1");
        await_progress(listener, publisher, 500);
        leave(run, publisher);
    }
    for (const FaultProcess* const publisher : runs) {
        await_ends(listener, *publisher);
        EXPECT_TRUE(heard_from_the_start(listener, *publisher)) << publisher->name();
    }
    EXPECT_GE(balance({&listener}).begins, 18U);
}

TEST_F(FaultScenario, ExitWithoutCleanUp)
{
    FaultProcess& listener = start_listener(mortal);
    std::vector<FaultProcess*> publishers;
    for (int i = 0; i < 5; ++i) {
        publishers.push_back(&start_publisher(mortal));
        publishers.back()->tell("flow 5 5");
    }
    for (FaultProcess* const publisher : publishers) {
        await_progress(listener, *publisher, 500);
        EXPECT_EQ(publisher->child().finish(), 0) << "the publisher's exit";
    }
    for (const FaultProcess* const publisher : publishers) {
        await_ends(listener, *publisher);
    }
    EXPECT_GE(balance({&listener}).begins, 20U);
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
    expect_all_delivered(balance({&early, &late}));
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
    expect_all_delivered(balance(all));
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
    for (unsigned restart = 0; restart < restarts; ++restart) {
        const auto slot = static_cast<unsigned>(random() % slots);
        gone.push_back(running[slot]);
        leave(static_cast<unsigned>(random()), *running[slot]);
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
            return std::all_of(all.begin(), all.end(), [](const test::Heard& h) { return h.ends == h.begins; });
        });
    }
    for (FaultProcess* const process : gone) {
        if (process->child().pid() > 0) {
            process->child().finish();
        }
        check_unfinished(*process);
    }
    balance(running);
}

} // namespace
