/// What one run of a bench came to, and how it is told.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "qxnotify/latencies.h"

namespace qx::tool {

/// What the listening process has seen of a run.
struct BenchFigures {
    std::uint64_t received = 0;         ///< in order, without the one that is looked at before anything is timed
    std::string fault;                  ///< of the first message that was not as sent; empty: there was none
    double seconds = 0;                 ///< from the first send to the last message at the observer
    std::optional<Latencies> latencies; ///< in microseconds, from the send to the observer
    bool operator==(const BenchFigures&) const = default;
};

/// As it goes through the pipe: one object in one line, with its line feed.
std::string figures_line(const BenchFigures& figures);
/// Throws std::exception when the text is not such a line.
BenchFigures parse_figures(const std::string& line);

struct BenchRun {
    std::uint64_t messages = 0;
    std::optional<double> rate; ///< a second; none: as fast as they are taken
    std::size_t payload_bytes = 0;
    std::string name() const;
};

/// For people: the heading, and a row for each run.
std::string bench_heading();
std::string bench_row(const BenchRun& run, const BenchFigures& figures);
/// For programs: an object a line. Latencies are those of runs with a rate: without one they tell how much waited.
std::string bench_json(const BenchRun& run, const BenchFigures& figures);

} // namespace qx::tool
