/// What a publisher has sent, and how it says so at the end.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "qxnotify/publish_fate.h"

namespace qx::tool {

struct PublishTotals {
    std::array<std::uint64_t, fate_count> sent{}; ///< by fate
    std::uint64_t refused = 0;
    std::uint64_t bytes = 0; ///< payload bytes sent

    std::uint64_t& of(Fate fate) { return sent[static_cast<std::size_t>(fate)]; }
    std::uint64_t sent_total() const;
};

/// One line for people, with its line feed.
std::string totals_line(const PublishTotals& totals, double seconds, const std::string& ended_by);

/// One line for programs: {"sent":…,"sent_by_kind":{…},"refused":…,"bytes":…,"seconds":…,"ended_by":…}.
std::string totals_json(const PublishTotals& totals, double seconds, const std::string& ended_by);

} // namespace qx::tool
