/// What the transport has counted, and how a listener says so.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qx::tool {

/// One counter under the name that it has in the transport's interface.
struct Statistic {
    std::string_view name;
    std::uint64_t value;
};
using Statistics = std::vector<Statistic>;

/// One line for people, with its line feed: what is not 0, and how much was received and lost in any case.
std::string stats_line(const Statistics& stats, double seconds);

/// One line for programs with all of them: {"stats":{...}}.
std::string stats_json(const Statistics& stats, double seconds);

} // namespace qx::tool
