/// What the kernel threw away because a process did not read fast enough.
#pragma once

#include <cstdint>

#include <sys/types.h>

namespace test {

/// Packets that found an IPv4 UDP socket of the process full, since the sockets were opened.
std::uint64_t packets_dropped(pid_t pid);

} // namespace test
