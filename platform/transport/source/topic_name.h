/// What a topic may be called.
#pragma once

#include <cstddef>
#include <string_view>

namespace qx::transport {

inline constexpr std::size_t topic_bytes_max = 246;

/// Throws TransportError (LBM_EINVAL) unless `topic` has 1 to `topic_bytes_max` bytes and no control character
/// (0 to 31 and 127). Bytes from 128 on are accepted as they are: a topic has no encoding.
void check_topic_name(std::string_view topic);

/// The text up to the first '.', the whole topic when there is none. It views `topic`.
constexpr std::string_view first_token(std::string_view topic) noexcept
{
    return topic.substr(0, topic.find('.'));
}

} // namespace qx::transport
