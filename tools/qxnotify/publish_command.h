#pragma once

#include "qxnotify/exit_codes.h"
#include "qxnotify/publish_options.h"

namespace qx::tool {

/// Publishes all input and writes the summary. Call it on the main thread, before any other thread exists, and once per
/// process: it takes over standard output and the stop signals.
/// Throws TransportError when the transport refuses, std::system_error when input cannot be read.
ExitCode run_publish(const PublishOptions& options);

} // namespace qx::tool
