#include "ids.h"

#include <arpa/inet.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <span>

#include "network_interface.h"

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

std::uint64_t big_endian_64(std::span<const std::uint8_t, 8> in)
{
    return std::uint64_t{big_endian(in.subspan<0, 4>())} << 32U | big_endian(in.subspan<4, 4>());
}

/// Of a participant's key the first four bytes tell the engine's maker, or the identity alone, and the last four the
/// kind.
std::uint64_t distinctive(const ParticipantKey& participant)
{
    return big_endian_64(std::span{participant}.subspan<4, 8>());
}

} // namespace

ContextId ContextId::make(const std::string& interface, const ParticipantKey& participant, std::uint32_t number)
{
    const std::uint64_t context = distinctive(participant) + number;
    ContextId id;
    const std::span<std::uint8_t, 16> bytes{id.bytes};
    put_big_endian(bytes.subspan<0, 4>(), ipv4_of_interface(interface));
    put_big_endian(bytes.subspan<4, 4>(), static_cast<std::uint32_t>(getpid()));
    put_big_endian(bytes.subspan<8, 4>(), static_cast<std::uint32_t>(context >> 32U));
    put_big_endian(bytes.subspan<12, 4>(), static_cast<std::uint32_t>(context));
    return id;
}

bool ContextId::is_of(const ParticipantKey& participant) const noexcept
{
    const std::uint64_t number = big_endian_64(std::span{bytes}.subspan<8, 8>()) - distinctive(participant);
    return number <= std::numeric_limits<std::uint32_t>::max();
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
