/// The verbs of the command line. Each adds itself to the program and, when it was chosen, sets the exit code; triage
/// does so in triage_verb.h, as its exit codes are others.
#pragma once

#include <CLI/CLI.hpp>

#include "qxnotify/exit_codes.h"

namespace qx::tool {

struct BenchOptions;
struct ListenOptions;
struct PublishOptions;

/// The bindings alone: they fill `options`, which must outlive `app`.
CLI::App& add_bench_verb(CLI::App& app, BenchOptions& options);
CLI::App& add_listen_verb(CLI::App& app, ListenOptions& options);
CLI::App& add_publish_verb(CLI::App& app, PublishOptions& options);

/// Refuses what is no market identifier; the parser alone would take 18446744073709551616 for one.
CLI::Validator market_check();

/// Refuses infinity and what is no number at all; bounds alone let the latter through, as it compares with nothing.
CLI::Validator finite_check();

/// The whole program but for main's frame: reads the command line, runs the verb, reports what goes wrong.
/// `argv` as main has it. The exit code is an ExitCode, or a TriageExit once `triage` was named.
int run_qxnotify(int argc, const char* const* argv);

} // namespace qx::tool
