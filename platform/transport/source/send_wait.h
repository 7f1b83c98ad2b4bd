/// How sends wait for room.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>

namespace qx::transport {

/// How long a send may wait for room.
struct SendWait {
    std::optional<std::chrono::steady_clock::time_point> deadline; ///< empty: without limit
    bool never = false;
    bool flush = false; ///< send at once what was collected
};

/// The engine tells neither of acknowledgements nor of a window that opens: both have to be looked for.
inline constexpr std::chrono::microseconds retry_interval{500};

/// Waits until it is time to look again, or earlier; the lock is free meanwhile. Throws TransportError, LBM_EWOULDBLOCK
/// or LBM_ETIMEDOUT, when the send may not wait (any longer). `lacking` says what has not happened "yet" or "in time".
void wait_for_room(std::unique_lock<std::mutex>& lock, std::condition_variable& room, const SendWait& wait,
                   const char* lacking, std::chrono::microseconds interval = retry_interval);

} // namespace qx::transport
