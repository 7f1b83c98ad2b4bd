/// The bench's publishing side: one run after the other.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>

#include "qxnotify/bench_figures.h"
#include "qxnotify/bench_message.h"
#include "qxnotify/bench_peer.h"
#include "qxnotify/transport.h"

namespace qx::tool {

/// The listening process was not found.
class NoListener : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Not every message of a run arrived as it was sent.
class NotAsSent : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Errors    all throw PeerEnded, Interrupted, TransportError; the constructor NoListener, run NotAsSent.
class BenchPublisher {
public:
    using Progress = std::function<void(const BenchRun& run, std::uint64_t sent)>;

    /// Opens the context of this process, and waits until the peer listens to it.
    BenchPublisher(BenchPeer& peer, StopSignals& stop, Progress progress);

    /// Sends message 0, and when that has arrived as it is, the others. `run.payload_bytes` is not read.
    BenchFigures run(const BenchRun& run);
    std::size_t payload_bytes() const { return m_message.payload_bytes(); }

private:
    void send(std::uint64_t number);
    void send_all(const BenchRun& run);
    void pace(const BenchRun& run, std::uint64_t sent, std::chrono::steady_clock::time_point begin);
    bool wait_until_received(std::uint64_t messages);

    BenchPeer& m_peer;
    StopSignals& m_stop;
    const Progress m_progress;
    BenchMessage m_message;
    std::string m_topic;
    ContextHandle m_context;
    TopicSource m_source; ///< after the context, so that it goes first
};

} // namespace qx::tool
