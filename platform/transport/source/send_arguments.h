/// What all sending functions of <lbm/lbm.h> ask of their arguments.
#pragma once

#include <cstddef>

#include "stream_writer.h"

namespace qx::transport {

/// Throws TransportError (LBM_EINVAL).
void check_send(const char* data, std::size_t length, int flags);

/// How long a send with these flags may wait.
SendWait wait_by(int flags) noexcept;

} // namespace qx::transport
