#pragma once

#include <string>

#include "qxnotify/exit_codes.h"

namespace qx::tool {

/// The listening process of a bench. It listens in the domain of that tag and does what it is told on standard input
/// until that ends or a stop signal comes; it answers on standard output:
///
///     begin 1000    a run of message 0 and a thousand more: {"ready":1000}, then {"received":…,"faulty":…} as they
///     come end           what became of it: see figures_line
///
/// The first line that it writes is {"listening":true}. Call it before any other thread exists.
ExitCode run_bench_listener(const std::string& domain_tag);

} // namespace qx::tool
