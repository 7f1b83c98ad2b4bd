/// The transport's own counters, as far as the transport that the program is built with has any.
#pragma once

#include "qxnotify/listen_stats.h"

namespace qx::tool {

/// Decided by the build: an external transport need not have such counters, nor the same ones.
bool has_transport_stats() noexcept;

/// Summed over all contexts that the process has or had; empty when the transport has none. Throws TransportError.
Statistics transport_stats();

} // namespace qx::tool
