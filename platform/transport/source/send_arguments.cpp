#include "send_arguments.h"

#include <optional>
#include <string>

#include <lbm/lbm.h>

#include "error.h"
#include "frame.h"

namespace qx::transport {

void check_send(const char* data, std::size_t length, int flags)
{
    constexpr int known = LBM_MSG_FLUSH | LBM_SRC_NONBLOCK | LBM_SRC_BLOCK;
    constexpr int contradiction = LBM_SRC_NONBLOCK | LBM_SRC_BLOCK;
    if ((flags & ~known) != 0 || (flags & contradiction) == contradiction) {
        throw TransportError(LBM_EINVAL, "flags " + std::to_string(flags) + " are not acceptable");
    }
    if (length > 0) {
        require(data, "data");
    }
    if (length > payload_bytes_max) {
        throw TransportError(LBM_EINVAL, "a message has at most " + std::to_string(payload_bytes_max) +
                                             " bytes, this one " + std::to_string(length));
    }
}

SendWait wait_by(int flags) noexcept
{
    return {std::nullopt, (flags & LBM_SRC_NONBLOCK) != 0, (flags & LBM_MSG_FLUSH) != 0};
}

} // namespace qx::transport
