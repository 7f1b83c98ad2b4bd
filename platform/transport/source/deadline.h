/// Timeouts of the C interface as points in time.
#pragma once

#include <chrono>
#include <optional>

#include <lbm/lbm.h>

namespace qx::transport {

/// Empty: never. More milliseconds than LBM_EVENT_QUEUE_BLOCK would not fit the clock's range and mean the same.
inline std::optional<std::chrono::steady_clock::time_point> deadline_after(unsigned long timeout_ms)
{
    if (timeout_ms >= LBM_EVENT_QUEUE_BLOCK) {
        return std::nullopt;
    }
    return std::chrono::steady_clock::now() + std::chrono::milliseconds{timeout_ms};
}

} // namespace qx::transport
