/// `qxnotify triage` and its verbs on the command line.
#pragma once

#include <CLI/CLI.hpp>

#include "qxnotify/triage_exit.h"
#include "qxnotify/triage_options.h"

namespace qx::tool {

struct TriageOptions {
    TriagePingOptions ping;
    TriageNaksOptions naks;
    TriageSendOptions send;
};

/// The bindings alone: they fill `options`, which must outlive `app`.
CLI::App& add_triage_verb(CLI::App& app, TriageOptions& options);

/// Runs the verb that was chosen.
TriageExit run_triage(const CLI::App& triage, const TriageOptions& options);

} // namespace qx::tool
