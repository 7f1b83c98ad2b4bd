/// What `qxnotify bench` is asked to do.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qx::tool {

struct BenchOptions {
    std::uint64_t count = 200'000;            ///< messages of the throughput run
    std::vector<double> rates{1'000, 10'000}; ///< messages a second, one latency run each
    double seconds = 5;                       ///< of each latency run
    bool json = false;
    std::string listen_in; ///< not empty: be the listening process, in the domain of that tag
};

} // namespace qx::tool
