/// What a listener has seen, and how it says so at the end.
#pragma once

#include <cstdint>
#include <string>

namespace qx::tool {

struct ListenTotals {
    std::uint64_t products = 0; ///< received
    std::uint64_t instruments = 0;
    std::uint64_t printed = 0;
    std::uint64_t filtered = 0;

    std::uint64_t received() const { return products + instruments; }
};

/// One line for people, with its line feed.
std::string totals_line(const ListenTotals& totals, double seconds, const std::string& ended_by);

/// One line for programs: {"summary":{...}}.
std::string totals_json(const ListenTotals& totals, double seconds, const std::string& ended_by);

} // namespace qx::tool
