/// The operations requests, as verbs of `qxnotify triage`.
///
/// Call them on the main thread, before any other thread exists, and once per process: they take over standard output
/// and the stop signals. They report set-up errors themselves and throw nothing but what memory has to say.
#pragma once

#include "qxnotify/triage_exit.h"
#include "qxnotify/triage_options.h"

namespace qx::tool {

TriageExit run_triage_ping(const TriagePingOptions& options);
TriageExit run_triage_naks(const TriageNaksOptions& options);
TriageExit run_triage_send(const TriageSendOptions& options);

} // namespace qx::tool
