/// Which bytes would break a line or a terminal.
#pragma once

namespace qx::transport {

/// 0 to 31 and 127; bytes from 128 on are left to whoever knows the encoding.
constexpr bool is_control(char c) noexcept
{
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7f;
}

} // namespace qx::transport
