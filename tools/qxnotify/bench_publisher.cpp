#include "qxnotify/bench_publisher.h"

#include <chrono>
#include <utility>

#include "qxnotify/notification_names.h"
#include "qxnotify/publish_sender.h"

namespace qx::tool {

namespace {

using Clock = std::chrono::steady_clock;

/// For what takes milliseconds when all is well.
constexpr double patience_seconds = 20;

/// What may be under way: enough that nobody waits for the other, and far less than a receive queue holds, as a
/// transport takes messages faster than a listener reads them.
constexpr std::uint64_t under_way_max = 16'384;

std::string next_word(BenchPeer& peer, StopSignals& stop)
{
    const Deadline deadline = deadline_in(patience_seconds);
    for (;;) {
        if (auto word = peer.take_word()) {
            return *word;
        }
        if (!peer.wait(stop, deadline)) {
            throw PeerEnded("the listening process does not answer");
        }
    }
}

/// A context after the word of the peer that it listens: the order in which they find each other is always the same.
ContextHandle open_when_listening(BenchPeer& peer, StopSignals& stop)
{
    next_word(peer, stop);
    return open_context(price_context_name, AtEnd::leaves);
}

} // namespace

BenchPublisher::BenchPublisher(BenchPeer& peer, StopSignals& stop, Progress progress)
    : m_peer(peer)
    , m_stop(stop)
    , m_progress(std::move(progress))
    , m_topic(topic_of(BenchMessage::market, Fate::instrument))
    , m_context(open_when_listening(peer, stop))
    , m_source(m_context.get(), m_topic)
{
    switch (m_source.wait_for_receiver(patience_seconds, stop)) {
    case Woken::ready:
        return;
    case Woken::stopped:
        throw Interrupted("stopped by " + signal_name(stop.received()));
    case Woken::timed_out:
        throw NoListener("the listening process was not found; check what the configuration says of interface and "
                         "security");
    }
}

BenchFigures BenchPublisher::run(const BenchRun& run)
{
    m_peer.forget_counts();
    m_peer.tell("begin " + std::to_string(run.messages) + "\n");
    next_word(m_peer, m_stop);
    send(0);
    if (wait_until_received(1)) {
        send_all(run);
    }
    m_peer.tell("end\n");
    BenchFigures figures = parse_figures(next_word(m_peer, m_stop));
    if (!figures.fault.empty() || figures.received != run.messages) {
        throw NotAsSent(run.name() + ": " + (figures.fault.empty() ? "the rest is missing" : figures.fault) + "; " +
                        std::to_string(figures.received) + " of " + std::to_string(run.messages) + " came before");
    }
    return figures;
}

void BenchPublisher::send(std::uint64_t number)
{
    const auto now = std::chrono::nanoseconds(Clock::now().time_since_epoch()).count();
    const std::string_view payload = m_message.stamp(number, now);
    check_transport(lbm_src_send(m_source.get(), payload.data(), payload.size(), LBM_SRC_BLOCK), "lbm_src_send",
                    m_topic);
}

void BenchPublisher::send_all(const BenchRun& run)
{
    const auto begin = Clock::now();
    for (std::uint64_t number = 1; number <= run.messages; ++number) {
        pace(run, number - 1, begin);
        if (number > under_way_max && !wait_until_received(number - under_way_max)) {
            return;
        }
        send(number);
    }
    wait_until_received(run.messages + 1);
}

/// Sleeps until the next one is due. Who is late does not wait: the rate holds on the whole.
void BenchPublisher::pace(const BenchRun& run, std::uint64_t sent, Clock::time_point begin)
{
    constexpr std::uint64_t progress_every = 64;
    if (sent % progress_every == 0) {
        m_progress(run, sent);
    }
    if (!run.rate) {
        return;
    }
    const auto due = time_after(begin, static_cast<double>(sent) / *run.rate);
    while (!passed(due)) {
        m_peer.wait(m_stop, due);
    }
}

/// False when they do not come, or not as they were sent.
bool BenchPublisher::wait_until_received(std::uint64_t messages)
{
    while (m_peer.received() < messages && !m_peer.faulty()) {
        if (!m_peer.wait(m_stop, deadline_in(patience_seconds))) {
            return false;
        }
    }
    return !m_peer.faulty();
}

} // namespace qx::tool
