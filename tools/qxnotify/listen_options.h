/// What `qxnotify listen` is asked to do.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "qxnotify/listen_format.h"
#include "qxnotify/terminal.h"

namespace qx::tool {

/// Which records are printed. An empty set lets everything through.
struct ListenFilter {
    std::set<std::string, std::less<>> event_types;
    std::set<std::string, std::less<>> data_types;

    bool admits(std::string_view event_type, std::string_view data_type) const
    {
        return (event_types.empty() || event_types.contains(event_type)) &&
               (data_types.empty() || data_types.contains(data_type));
    }
};

struct ListenOptions {
    std::vector<std::uint64_t> markets;
    RecordFormat format = RecordFormat::line;
    ColourChoice colour = ColourChoice::automatic;
    ListenFilter filter;
    std::optional<std::uint64_t> count;    ///< printed records after which it ends, at least 1
    std::optional<double> timeout_seconds; ///< in all
    bool stats = false;                    ///< the transport's counters at the end
    std::optional<double> stats_interval_seconds;

    bool wants_stats() const { return stats || stats_interval_seconds; }
};

} // namespace qx::tool
