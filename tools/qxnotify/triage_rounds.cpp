#include "qxnotify/triage_rounds.h"

#include <unistd.h>

#include "qxnotify/terminal.h"
#include "qxnotify/triage_request.h"

namespace qx::tool {

Reached reach_responders(TriageRequester& requester, const TriageCollecting& collecting, StopSignals& stop)
{
    switch (requester.wait_for_responder(collecting.wait_seconds)) {
    case Woken::stopped:
        return Reached::stopped;
    case Woken::timed_out:
        return Reached::nobody;
    case Woken::ready:
        break;
    }
    return wait_for(-1, stop, deadline_in(collecting.settle_seconds)) == Woken::stopped ? Reached::stopped
                                                                                        : Reached::yes;
}

TriageRounds::TriageRounds(TriageRequester& requester, const TriageQuestion& question,
                           const TriageCollecting& collecting, StopSignals& stop)
    : m_requester(requester)
    , m_question(question)
    , m_collecting(collecting)
    , m_stop(stop)
    , m_progress(collecting.progress && is_terminal(STDERR_FILENO))
{
}

void TriageRounds::run(std::uint64_t rounds, double interval_seconds, const MakeRequest& make_request)
{
    m_progress.show("waiting for a responder on " + escaped(m_question.topic));
    if (reach_responders(m_requester, m_collecting, m_stop) != Reached::yes) {
        return;
    }
    RequestIds ids;
    for (std::uint64_t round = 0; round < rounds; ++round) {
        const Deadline next = deadline_in(interval_seconds);
        const std::string id = ids.next();
        if (!run_round(id, make_request(id)) || (round + 1 < rounds && !pause_until(*next))) {
            break;
        }
    }
    m_progress.erase();
}

bool TriageRounds::run_round(const std::string& id, const std::string& request)
{
    if (!m_requester.send(request)) {
        return false;
    }
    m_tally.begin_round();
    const Deadline deadline = deadline_in(m_collecting.wait_seconds);
    Woken woken = Woken::ready;
    do {
        take_answers(id);
        show_progress();
        woken = everybody_answered() ? Woken::timed_out : m_requester.wait_for_answer(deadline);
    } while (woken == Woken::ready);
    m_requester.end_request(); // nobody takes what comes before the next one
    take_answers(id);
    m_tally.add_dropped(m_requester.dropped());
    if (woken == Woken::stopped) {
        return false;
    }
    m_tally.complete_round();
    return true;
}

void TriageRounds::take_answers(const std::string& id)
{
    for (const ReceivedAnswer& answer : m_requester.take_answers()) {
        const std::chrono::duration<double, std::milli> latency = answer.at - m_requester.sent_at();
        m_tally.add({answer.source, latency.count(), fault_of_answer(answer.payload, id)});
    }
}

bool TriageRounds::everybody_answered() const
{
    if (!m_question.inventory.empty()) {
        return match_inventory(m_question.inventory, m_tally.sources_of_this_round()).complete();
    }
    return m_question.expected && m_tally.sources_of_this_round().size() >= *m_question.expected;
}

void TriageRounds::show_progress()
{
    m_progress.show("round " + std::to_string(m_tally.rounds()) + ": " +
                    std::to_string(m_tally.sources_of_this_round().size()) + " answered");
}

bool TriageRounds::pause_until(Clock::time_point next)
{
    return wait_for(-1, m_stop, next) != Woken::stopped;
}

std::string TriageRounds::ended_by() const
{
    const int signal = m_stop.received();
    return signal != 0 ? signal_name(signal) : completion;
}

} // namespace qx::tool
