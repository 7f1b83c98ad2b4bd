/// A bar chart as SVG.
#pragma once

#include <string>
#include <vector>

namespace qx::benchmark {

struct Bars {
    std::string title;
    std::vector<std::pair<std::string, double>> bars; ///< label and value, not negative
};

/// Groups of horizontal bars, one below the other, each with its value; `unit` is said once.
std::string svg_chart(const std::string& unit, const std::vector<Bars>& groups);

} // namespace qx::benchmark
