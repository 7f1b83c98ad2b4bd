/// Asking over the transport.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include <lbm/lbm.h>

#include "qxnotify/signals.h"
#include "qxnotify/transport.h"

namespace qx::tool {

using Clock = std::chrono::steady_clock;

/// An answer as it came.
struct ReceivedAnswer {
    std::string source;
    std::string payload;
    Clock::time_point at;
};

/// What is kept of the answers to one request, texts and frame together: far more than any number of responders says.
inline constexpr std::size_t answer_bytes_max = std::size_t{16} << 20U;

/// One request at a time on one topic. Its context is the transport's own, so it does not answer itself.
/// Errors    constructor and send throw TransportError.
/// Threads   one; answers arrive on another one and are handed over.
class TriageRequester {
public:
    TriageRequester(const std::string& context_name, const std::string& topic, StopSignals& stop);

    Woken wait_for_responder(double seconds) { return m_source.wait_for_receiver(seconds, m_stop); }
    /// Ends the request before. False when a signal came before the transport had room.
    bool send(std::string_view payload);
    /// No further answer is kept; those that came can still be taken, until the next request.
    void end_request() { m_request.reset(); }
    Clock::time_point sent_at() const { return m_sentAt; }
    /// Waits for an answer that has not been taken yet. Past the deadline it is never ready, so that a loop around it
    /// ends however fast answers come; what came can still be taken.
    Woken wait_for_answer(Deadline deadline);
    /// What has come since the last call.
    std::vector<ReceivedAnswer> take_answers();
    /// How many answers to this request were beyond answer_bytes_max.
    std::uint64_t dropped();

private:
    struct RequestDelete {
        void operator()(lbm_request_t* request) const noexcept { lbm_request_delete(request); }
    };
    struct Answers {
        std::mutex lock;
        std::vector<ReceivedAnswer> untaken;
        std::size_t bytes = 0;     ///< of the answers to this request, taken ones too
        std::uint64_t dropped = 0; ///< of them
        Waker came;
    };
    void forget_answers();
    static int on_answer(lbm_request_t* request, lbm_msg_t* msg, void* clientd);

    const std::string m_topic;
    StopSignals& m_stop;
    Answers m_answers;
    ContextHandle m_context;
    TopicSource m_source;
    std::unique_ptr<lbm_request_t, RequestDelete> m_request; ///< last, so that it goes first
    Clock::time_point m_sentAt;
};

} // namespace qx::tool
