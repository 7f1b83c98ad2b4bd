#pragma once

#include "qxnotify/bench_options.h"
#include "qxnotify/exit_codes.h"

namespace qx::tool {

/// Runs the bench, or its listening process, and writes a row for each run. Call it on the main thread, before any
/// other thread exists, and once per process: it takes over standard output, the stop signals and the configuration.
/// Throws TransportError when the transport refuses, std::system_error when output cannot be written.
ExitCode run_bench(const BenchOptions& options);

} // namespace qx::tool
