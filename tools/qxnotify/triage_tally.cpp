#include "qxnotify/triage_tally.h"

#include <algorithm>

namespace qx::tool {

void TriageTally::begin_round()
{
    m_gatherings.insert(sources_of_this_round());
    ++m_begun;
}

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

std::vector<std::vector<std::string>> TriageTally::gatherings() const
{
    auto distinct = m_gatherings;
    distinct.insert(sources_of_this_round());
    std::vector<std::vector<std::string>> result(distinct.begin(), distinct.end());
    std::stable_sort(result.begin(), result.end(), [](const auto& a, const auto& b) { return a.size() > b.size(); });
    return result;
}

std::uint64_t TriageTally::sent_to(const Responder& responder) const
{
    return m_completed + (responder.last_round > m_completed ? 1 : 0);
}

} // namespace qx::tool
