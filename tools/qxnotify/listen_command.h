#pragma once

#include "qxnotify/exit_codes.h"
#include "qxnotify/listen_options.h"

namespace qx::tool {

/// Runs a real listener until the count, the time or a signal ends it. Call it on the main thread, before any other
/// thread exists, and once per process: it takes over standard output, the stop signals and std::terminate.
/// Throws lbm::LbmError when the transport refuses.
ExitCode run_listen(const ListenOptions& options);

} // namespace qx::tool
