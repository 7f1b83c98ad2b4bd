/// Time and allocations of a message on each way.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "paths.h"

namespace qx::benchmark {

struct Figure {
    std::string kind;
    double nanoseconds = 0; ///< CPU time of a message, median of the rounds
    double allocations = 0; ///< of a message
};

struct Contender {
    Kind kind;
    const Sample& sample;
};

/// Each contender in turn, round after round, so that what else the machine does hits all alike. Throws
/// std::runtime_error before anything is timed if one makes another record than its sample's reference.
std::vector<Figure> measure(const std::vector<Contender>& contenders, std::size_t rounds);

} // namespace qx::benchmark
