/// Who answered which request, and how fast.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace qx::tool {

struct TriageAnswer {
    std::string source;
    double latency_ms = 0;
    std::string fault; ///< not empty: it does not count as an answer
};

/// A round is one request and its answers. Of several answers of a responder to one request the first counts.
class TriageTally {
public:
    struct Responder {
        std::vector<double> latencies_ms; ///< one per answered request
        std::uint64_t last_round = 0;     ///< it answered in, 1 being the first
    };

    void begin_round();
    void add(const TriageAnswer& answer);
    void add_dropped(std::uint64_t answers) { m_dropped += answers; }
    /// The time for answers was up, or nobody was left to wait for. A round that a signal ended is not complete.
    void complete_round() { m_completed = m_begun; }

    std::uint64_t rounds() const { return m_begun; }
    /// Those that answered at least once, by source.
    const std::map<std::string, Responder>& responders() const { return m_responders; }
    /// The last fault of each source.
    const std::map<std::string, std::string>& faults() const { return m_faults; }
    /// Answers that were too many to be looked at.
    std::uint64_t dropped() const { return m_dropped; }
    std::vector<std::string> sources_of_this_round() const;
    /// Who answered together in one round; each such set of sources once, the largest first. A process that comes back
    /// has another source, so over several rounds there may be more of them than there ever were processes.
    std::vector<std::vector<std::string>> gatherings() const;
    /// Requests that the responder had its time to answer, or did answer: in a round cut short it owes none.
    std::uint64_t sent_to(const Responder& responder) const;

private:
    std::uint64_t m_begun = 0;
    std::uint64_t m_completed = 0;
    std::uint64_t m_dropped = 0;
    std::map<std::string, Responder> m_responders;
    std::map<std::string, std::string> m_faults;
    std::set<std::vector<std::string>> m_gatherings; ///< of the rounds before this one
};

} // namespace qx::tool
