/// What is measured, each as a transport's figure beside the engine's from the same run.
#pragma once

#include <string>
#include <vector>

#include "link.h"

namespace qx::benchmark {

struct Throughput {
    std::size_t topics;
    std::size_t listeners; ///< processes
    std::size_t count;
    std::size_t bytes;
};

/// Messages each second, from the first send to the last listener's last message, all verified.
double messages_per_second(Kind kind, const Throughput& load);

struct RoundTrip {
    double p50_us;
    double p99_us;
};

/// One message under way at a time, there and back between two processes.
RoundTrip round_trip(Kind kind, std::size_t count, std::size_t bytes);

/// From the start of a joining process's participant to the news of the last of the sources of another one.
double discovery_ms(Kind kind, std::size_t sources);

/// Heap for each in the process that has them.
double bytes_per_sender(Kind kind, std::size_t count);
double bytes_per_listener(Kind kind, std::size_t count);

} // namespace qx::benchmark
