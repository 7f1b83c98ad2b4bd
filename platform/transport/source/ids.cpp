#include "ids.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <random>
#include <span>

namespace qx::transport {
namespace {

void put_big_endian(std::span<std::uint8_t, 4> out, std::uint32_t value)
{
    const std::uint32_t ordered = htonl(value);
    std::memcpy(out.data(), &ordered, sizeof(ordered));
}

std::uint32_t big_endian(std::span<const std::uint8_t, 4> in)
{
    std::uint32_t ordered = 0;
    std::memcpy(&ordered, in.data(), sizeof(ordered));
    return ntohl(ordered);
}

std::uint32_t address_of(const ifaddrs& entry)
{
    sockaddr_in address{};
    std::memcpy(&address, entry.ifa_addr, sizeof(address));
    return ntohl(address.sin_addr.s_addr);
}

/// The interface's first IPv4 address, 0 when it has none: the address only helps people.
std::uint32_t ipv4_of(const std::string& interface_name)
{
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0) {
        return 0;
    }
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner{first, &freeifaddrs};
    for (const ifaddrs* i = first; i != nullptr; i = i->ifa_next) {
        if (i->ifa_addr != nullptr && i->ifa_addr->sa_family == AF_INET && interface_name == i->ifa_name) {
            return address_of(*i);
        }
    }
    return 0;
}

} // namespace

ContextId ContextId::make(const std::string& interface_name)
{
    ContextId id;
    const std::span<std::uint8_t, 16> bytes{id.bytes};
    std::random_device random;
    put_big_endian(bytes.subspan<0, 4>(), ipv4_of(interface_name));
    put_big_endian(bytes.subspan<4, 4>(), static_cast<std::uint32_t>(getpid()));
    put_big_endian(bytes.subspan<8, 4>(), random());
    put_big_endian(bytes.subspan<12, 4>(), random());
    return id;
}

std::string context_text(const ContextId& context)
{
    const std::span<const std::uint8_t, 16> id{context.bytes};
    std::array<char, 64> text{};
    const int length =
        std::snprintf(text.data(), text.size(), "LBMDDS:%u.%u.%u.%u:%u:%08x%08x", id[0], id[1], id[2], id[3],
                      big_endian(id.subspan<4, 4>()), big_endian(id.subspan<8, 4>()), big_endian(id.subspan<12, 4>()));
    return {text.data(), static_cast<std::size_t>(length)};
}

std::string source_text(const SourceId& source, std::string_view topic)
{
    return context_text(source.context) + ":" + std::to_string(source.number) + "[" + std::string{topic} + "]";
}

} // namespace qx::transport
