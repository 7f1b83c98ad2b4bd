#include "send_wait.h"

#include <string>

#include "error.h"

namespace qx::transport {

void wait_for_room(std::unique_lock<std::mutex>& lock, std::condition_variable& room, const SendWait& wait,
                   const char* lacking, std::chrono::microseconds interval)
{
    if (wait.never) {
        throw TransportError(LBM_EWOULDBLOCK, std::string{lacking} + " yet");
    }
    if (wait.deadline && std::chrono::steady_clock::now() >= *wait.deadline) {
        throw TransportError(LBM_ETIMEDOUT, std::string{lacking} + " in time");
    }
    room.wait_for(lock, interval);
}

} // namespace qx::transport
