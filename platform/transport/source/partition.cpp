#include "partition.h"

#include "topic_name.h"

namespace qx::transport {
namespace {

bool is_plain(char c) noexcept
{
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-' || c == '_';
}

constexpr std::string_view digits = "0123456789abcdef";

std::string escaped(std::string_view token)
{
    std::string safe = "t:"; // an empty token is not the nameless partition
    for (const char c : token) {
        if (is_plain(c)) {
            safe += c;
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        safe += '%';
        safe += digits[byte >> 4U];
        safe += digits[byte & 0xFU];
    }
    return safe;
}

} // namespace

std::string partition_of_topic(std::string_view topic)
{
    return escaped(first_token(topic));
}

std::string partition_of_requester(const ContextId& context)
{
    std::string name = "r:";
    for (const std::uint8_t byte : context.bytes) {
        name += digits[byte >> 4U];
        name += digits[byte & 0xFU];
    }
    return name;
}

std::string partition_of_prefix(std::string_view prefix)
{
    const bool whole_token = prefix.find('.') != std::string_view::npos;
    return escaped(first_token(prefix)) + (whole_token ? "" : "*");
}

} // namespace qx::transport
