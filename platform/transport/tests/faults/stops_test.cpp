/// Processes that stand still for a while and go on.
#include <csignal>

#include "fault_scenario.h"

namespace test {
namespace {

constexpr std::chrono::milliseconds short_stop{200};
constexpr std::size_t publishers_stopped = 5;
constexpr std::size_t sources_each = 4;
/// And than a losing writer keeps: some 8 MB in frames of 1 kB, for a process that stands still.
constexpr const char* more_than_a_socket_takes = "push 24000";

class Stops : public FaultScenario {
protected:
    /// All stand still at once; `during` is what happens then. Each is heard before, since one may have found the
    /// listener that has not found it, and would not be missed; and after.
    template <class During>
    void stop_all(const std::vector<FaultProcess*>& publishers, const FaultProcess& listener, During during)
    {
        await_progress_of_all(listener, publishers);
        for (FaultProcess* const publisher : publishers) {
            publisher->child().stop();
        }
        during();
        for (FaultProcess* const publisher : publishers) {
            publisher->child().signal(SIGCONT);
        }
        await_progress_of_all(listener, publishers);
    }

    static void await_progress_of_all(const FaultProcess& listener, const std::vector<FaultProcess*>& publishers)
    {
        for (const FaultProcess* const publisher : publishers) {
            await_progress(listener, *publisher);
        }
    }

    Account close_all(const std::vector<FaultProcess*>& publishers, FaultProcess& listener)
    {
        for (FaultProcess* const publisher : publishers) {
            publisher->tell("close");
            await_last_words(listener, *publisher);
        }
        return balance({&listener});
    }
};

TEST_F(Stops, PublisherStoppedShortly50Times)
{
    FaultProcess& listener = start_listener(mortal);
    const auto publishers = start_publishers(publishers_stopped, mortal, "flow 1 5");
    for (int round = 0; round < 10; ++round) {
        stop_all(publishers, listener, [] { last(short_stop); });
    }
    const Account account = close_all(publishers, listener);
    expect_all_delivered(account);
    expect_one_life_each(account, publishers_stopped * sources_each);
}

TEST_F(Stops, PublisherStoppedLong30Times)
{
    constexpr std::size_t rounds = 6;
    FaultProcess& listener = start_listener(hasty);
    const auto publishers = start_publishers(publishers_stopped, hasty, "flow 1 5");
    for (std::size_t round = 0; round < rounds; ++round) {
        stop_all(publishers, listener, [&] {
            for (const FaultProcess* const publisher : publishers) {
                await_ends(listener, *publisher);
            }
        });
    }
    const Account account = close_all(publishers, listener);
    EXPECT_GE(account.begins, publishers_stopped * sources_each * (rounds + 1)) << "every source returned each time";
    EXPECT_EQ(account.died, 0U);
}

TEST_F(Stops, ReceiverStoppedShortly50Times)
{
    FaultProcess& listener = start_listener(patient);
    FaultProcess& publisher = start_publisher(patient);
    publisher.tell("flow 1 1");
    await_progress(listener, publisher);
    for (int round = 0; round < 50; ++round) {
        listener.child().stop();
        last(short_stop / 2);
        listener.child().signal(SIGCONT);
        await_progress(listener, publisher);
    }
    const Account account = close_all({&publisher}, listener);
    expect_all_delivered(account);
    expect_one_life_each(account, sources_each);
}

TEST_F(Stops, ReceiverStoppedLong6Times)
{
    FaultProcess& listener = start_listener(hasty);
    FaultProcess& publisher = start_publisher(hasty);
    publisher.tell("flow 5 5");
    for (int round = 0; round < 6; ++round) {
        listener.child().stop();
        await("the publisher misses its receiver", [&] { return publisher.board().connected == 0; });
        listener.child().signal(SIGCONT);
        await_progress(listener, publisher);
    }
    EXPECT_EQ(close_all({&publisher}, listener).died, 0U);
}

// The deletion waits for longer than the stop.
TEST_F(Stops, ReceiverStoppedWhileItsPublisherEnds)
{
    FaultProcess& listener = start_listener(patient);
    FaultProcess& publisher = start_publisher(patient);
    publisher.tell("flow 1 1");
    await_progress(listener, publisher);
    publisher.tell("halt");
    listener.child().stop();
    publisher.tell("push 8000");
    publisher.child().say("delete");
    last(10 * short_stop);
    listener.child().signal(SIGCONT);
    publisher.child().expect_ok();
    await_ends(listener, publisher);
    const Account account = balance({&listener});
    expect_all_delivered(account);
    expect_one_life_each(account, sources_each);
}

// Far more is sent than a writer keeps: a sender that waits for its slowest receiver would have to.
TEST_F(Stops, ReceiverStoppedBesideLosingSources)
{
    FaultProcess& healthy = start_listener(patient);
    FaultProcess& stopped = start_listener(patient);
    FaultProcess& publisher = start_publisher(with(patient, {{"send_window_bytes", "262144"}}), "when_full=lose");
    publisher.tell("flow 1 5");
    await_progress(healthy, publisher);
    await_progress(stopped, publisher);
    publisher.tell("halt");
    stopped.child().stop();
    publisher.tell(more_than_a_socket_takes);
    publisher.tell("close");
    await_ends(healthy, publisher);
    for (std::uint32_t i = 0; i < sources_each; ++i) {
        EXPECT_EQ(stopped.heard(publisher, i)->ends, 0U) << "it was to stand still until here";
    }
    stopped.child().signal(SIGCONT);
    await_ends(stopped, publisher);
    const Account account = balance({&healthy, &stopped});
    expect_one_life_each(account, 2 * sources_each);
    EXPECT_EQ(account.died, 0U);
    for (std::uint32_t i = 0; i < sources_each; ++i) {
        EXPECT_GT(stopped.heard(publisher, i)->lost, 0U) << "more was sent than is kept for it";
    }
}

/// What the receiver missed includes the first messages of the sources that came. Before it stops, little is sent: what
/// a writer keeps must reach back to the stream's start until the receiver has heard it.
class SourcesComeWhileStopped : public Stops, public testing::WithParamInterface<const char*> {};

TEST_P(SourcesComeWhileStopped, ThenTheyAreToldOfFromTheirStart)
{
    FaultProcess& listener = start_listener(patient, "F[ABC]\\.[0-9.]+");
    FaultProcess& publisher = start_publisher(
        with(patient, {{"send_window_bytes", "262144"}, {"source_order", GetParam()}}), "when_full=lose");
    publisher.tell("send 1");
    await_data(listener, publisher);
    listener.child().stop();
    publisher.tell(more_than_a_socket_takes);
    publisher.tell(GetParam() == std::string{"token"} ? "open FA.0 2 when_full=lose" : "open FC.0 2 when_full=lose");
    publisher.tell("push 8000");
    publisher.tell("close");
    listener.child().signal(SIGCONT);
    await_ends(listener, publisher);
    const Account account = balance({&listener});
    expect_one_life_each(account, sources_each + 2);
    EXPECT_TRUE(heard_from_the_start(listener, publisher));
    EXPECT_EQ(account.died, 0U);
    EXPECT_GT(listener.heard(publisher, sources_each)->lost, 0U) << "more was sent than is kept for it";
}

INSTANTIATE_TEST_SUITE_P(Order, SourcesComeWhileStopped, testing::Values("token", "context"),
                         [](const auto& order) { return order.param == std::string{"token"} ? "Token" : "Context"; });

} // namespace
} // namespace test
