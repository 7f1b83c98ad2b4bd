/// The sending end of the answers to one requester.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>

#include "bytes.h"
#include "dds_entity.h"
#include "flusher.h"
#include "ids.h"
#include "send_wait.h"

namespace qx::transport {

struct AnswerPolicy {
    std::size_t window;                 ///< answers to one requester that may be unacknowledged
    std::chrono::milliseconds patience; ///< a requester that was not found for that long is gone
};

/// How many bytes may wait until the requester is found. A larger answer waits alone.
inline constexpr std::size_t waiting_bytes_max = 4U << 20U;

/// Which request is answered, and how many answers to it were accepted before.
struct AnswerTo {
    std::uint64_t request = 0;
    std::uint32_t next = 0; ///< guarded by the writer's lock
};

/// Each requester has a writer of its own, since the engine makes all readers of a writer wait for the slowest: one
/// that stands still holds up nobody else's answers. What is sent before the engine has found the requester waits here.
/// Acknowledgements are only known to be complete or not, so that a full window opens when all of it is acknowledged.
/// Threads   any.
class AnswerWriter : public Flushable, public std::enable_shared_from_this<AnswerWriter> {
public:
    AnswerWriter(const ContextId& self, const ContextId& requester, AnswerPolicy policy, Flusher& flusher);

    /// A writer that is open counts as used. Throws TransportError (LBM_EOS).
    void open(dds_entity_t participant, dds_entity_t topic);

    /// False: it is not open. Throws TransportError: LBM_EWOULDBLOCK and LBM_ETIMEDOUT for want of room, LBM_EOP when
    /// the requester is gone or the writer stopped, LBM_EOS.
    bool send(AnswerTo& to, std::string_view payload, const SendWait& wait);

    /// Whether the requester is gone, for good: should it return, its next request is a new requester's.
    bool gone();

    /// Closes unless something is unacknowledged. It may be opened again.
    bool close_if_idle();
    std::chrono::steady_clock::time_point last_used() const;

    /// Sends that wait give up; nothing new is accepted.
    void stop() noexcept;

    /// Sends what waits if it can. True: all of it is acknowledged, or the requester is gone.
    bool drained() noexcept;

    /// After `stop`; drops what is left.
    void close() noexcept;

    std::optional<std::chrono::steady_clock::time_point> flush() noexcept override;

private:
    using Lock = std::unique_lock<std::mutex>;

    void look() noexcept;
    bool accept(Bytes& answer);
    bool all_acknowledged();
    bool wait_until_found(Bytes& answer);
    dds_return_t write(Bytes& answer) noexcept;
    void write_waiting() noexcept;

    const ContextId self_;
    const ContextId requester_;
    const AnswerPolicy policy_;
    Flusher& flusher_;
    mutable std::mutex mutex_;
    std::condition_variable room_;
    DdsEntity writer_; ///< empty while closed
    std::deque<Bytes> waiting_;
    std::size_t waiting_bytes_ = 0;
    std::size_t unacknowledged_ = 0; ///< at most; those that wait included
    std::chrono::steady_clock::time_point opened_{};
    std::chrono::steady_clock::time_point used_{};
    bool found_ = false; ///< by the engine, since it was opened
    bool gone_ = false;
    bool stopped_ = false;
    bool armed_ = false;
};

} // namespace qx::transport
