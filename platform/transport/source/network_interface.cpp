#include "network_interface.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>

#include <cstring>
#include <memory>
#include <optional>

namespace qx::transport {
namespace {

constexpr std::uint32_t loopback_net = 127;

std::optional<std::uint32_t> parse_ipv4(const std::string& text)
{
    in_addr address{};
    if (inet_pton(AF_INET, text.c_str(), &address) != 1) {
        return std::nullopt;
    }
    return ntohl(address.s_addr);
}

std::uint32_t address_of(const ifaddrs& entry)
{
    sockaddr_in address{};
    std::memcpy(&address, entry.ifa_addr, sizeof(address));
    return ntohl(address.sin_addr.s_addr);
}

/// Of the entries of that name the first that `wanted` likes; gives what `told` says of it.
template <class Wanted, class Told>
auto of_entry(const std::string& name, Wanted wanted, Told told) -> decltype(told(ifaddrs{}))
{
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0) {
        return {};
    }
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner{first, &freeifaddrs};
    for (const ifaddrs* i = first; i != nullptr; i = i->ifa_next) {
        if (name == i->ifa_name && wanted(*i)) {
            return told(*i);
        }
    }
    return {};
}

} // namespace

bool is_ipv4_address(const std::string& text)
{
    return parse_ipv4(text).has_value();
}

std::uint32_t ipv4_of_interface(const std::string& interface)
{
    if (const auto address = parse_ipv4(interface)) {
        return *address;
    }
    const auto has_ipv4 = [](const ifaddrs& i) { return i.ifa_addr != nullptr && i.ifa_addr->sa_family == AF_INET; };
    return of_entry(interface, has_ipv4, address_of);
}

bool is_loopback(const std::string& interface)
{
    if (const auto address = parse_ipv4(interface)) {
        return *address >> 24U == loopback_net;
    }
    const auto any = [](const ifaddrs&) { return true; };
    return of_entry(interface, any, [](const ifaddrs& i) { return (i.ifa_flags & IFF_LOOPBACK) != 0; });
}

} // namespace qx::transport
