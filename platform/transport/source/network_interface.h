/// The interface that contexts use, as the system knows it: by name or by IPv4 address.
#pragma once

#include <cstdint>
#include <string>

namespace qx::transport {

bool is_ipv4_address(const std::string& text);

/// The interface's first IPv4 address, 0 when it has none.
std::uint32_t ipv4_of_interface(const std::string& interface);

/// Whether nothing that goes there leaves this host. An interface that does not exist is none.
bool is_loopback(const std::string& interface);

} // namespace qx::transport
