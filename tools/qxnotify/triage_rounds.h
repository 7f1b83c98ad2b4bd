/// Asking again and again, and collecting who answers.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "qxnotify/progress.h"
#include "qxnotify/triage_options.h"
#include "qxnotify/triage_report.h"
#include "qxnotify/triage_tally.h"
#include "qxnotify/triage_transport.h"

namespace qx::tool {

/// Waits for a first responder and lets the others be found. Reached: the transport tells of the first one only, and a
/// request goes to those that are connected when it is sent.
enum class Reached { yes, nobody, stopped };
Reached reach_responders(TriageRequester& requester, const TriageCollecting& collecting, StopSignals& stop);

class TriageRounds {
public:
    using MakeRequest = std::function<std::string(const std::string& id)>;

    TriageRounds(TriageRequester& requester, const TriageQuestion& question, const TriageCollecting& collecting,
                 StopSignals& stop);

    /// A round is over when everybody who is expected has answered, else after the wait. Throws TransportError.
    void run(std::uint64_t rounds, double interval_seconds, const MakeRequest& make_request);

    const TriageTally& tally() const { return m_tally; }
    /// `completion`, or the signal.
    std::string ended_by() const;

private:
    bool run_round(const std::string& id, const std::string& request);
    void take_answers(const std::string& id);
    bool everybody_answered() const;
    void show_progress();
    bool pause_until(Clock::time_point next);

    TriageRequester& m_requester;
    const TriageQuestion& m_question;
    const TriageCollecting& m_collecting;
    StopSignals& m_stop;
    Progress m_progress;
    TriageTally m_tally;
};

} // namespace qx::tool
