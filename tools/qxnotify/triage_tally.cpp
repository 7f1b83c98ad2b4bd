#include "qxnotify/triage_tally.h"

namespace qx::tool {

void TriageTally::add(const TriageAnswer& answer)
{
    if (!answer.fault.empty()) {
        m_faults[answer.source] = answer.fault;
        return;
    }
    Responder& responder = m_responders[answer.source];
    if (responder.last_round != m_begun) {
        responder.last_round = m_begun;
        responder.latencies_ms.push_back(answer.latency_ms);
    }
}

std::vector<std::string> TriageTally::sources_of_this_round() const
{
    std::vector<std::string> sources;
    for (const auto& [source, responder] : m_responders) {
        if (responder.last_round == m_begun) {
            sources.push_back(source);
        }
    }
    return sources;
}

std::uint64_t TriageTally::sent_to(const Responder& responder) const
{
    return m_completed + (responder.last_round > m_completed ? 1 : 0);
}

} // namespace qx::tool
