#include "partition.h"

#include "topic_name.h"

namespace qx::transport {
namespace {

bool is_plain(char c) noexcept
{
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-' || c == '_';
}

constexpr std::string_view topic_mark = "t:";
constexpr std::string_view digits = "0123456789abcdef";

std::string escaped(std::string_view token)
{
    std::string safe{topic_mark}; // an empty token is not the nameless partition
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

/// Of what are no digits any byte.
char byte_of(std::string_view two_digits) noexcept
{
    return static_cast<char>((digits.find(two_digits[0]) << 4U) | digits.find(two_digits[1]));
}

} // namespace

std::string partition_of_topic(std::string_view topic)
{
    return escaped(first_token(topic));
}

std::optional<std::string> token_of_partition(std::string_view partition)
{
    std::string token;
    for (std::size_t i = topic_mark.size(); i < partition.size(); ++i) {
        const bool spelt_out = partition[i] == '%' && i + 2 < partition.size();
        token += spelt_out ? byte_of(partition.substr(i + 1, 2)) : partition[i];
        i += spelt_out ? 2 : 0;
    }
    if (partition_of_topic(token) != partition) {
        return std::nullopt;
    }
    return token;
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
