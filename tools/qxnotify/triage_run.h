/// What the operations requests' commands have in common.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "qxnotify/signals.h"
#include "qxnotify/triage_exit.h"
#include "qxnotify/triage_options.h"
#include "qxnotify/triage_report.h"
#include "qxnotify/triage_rounds.h"

namespace qx::tool {

/// The topic that target and environment variables name. Throws TriageSetupError.
std::string topic_for(const TriageTarget& target);

/// Throws TriageSetupError.
TriageQuestion make_question(const std::string& request, const TriageTarget& target, const TriageCollecting& collecting,
                             StopSignals& stop);

/// Asks so many rounds and reports. Throws TransportError.
TriageReport ask_rounds(const TriageQuestion& question, const TriageTarget& target, const TriageCollecting& collecting,
                        std::uint64_t rounds, double interval_seconds, const TriageRounds::MakeRequest& make_request,
                        StopSignals& stop);

/// Runs a command; what it throws becomes a line on standard error and TriageExit::unknown. For nagios, which shows
/// what is on standard output, also one there.
TriageExit run_guarded(TriageFormat format, const std::function<TriageExit(int output, StopSignals& stop)>& command);

/// Throws TriageSetupError when it cannot be written; who does not read any more has seen enough.
void write_result(int output, std::string_view text);

} // namespace qx::tool
