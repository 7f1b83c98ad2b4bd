/// The text of a UUID.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid.hpp>

namespace qx::detail {

/// Of each byte as a hexadecimal digit; 16 if it is none.
inline constexpr auto hex_values = [] {
    std::array<std::uint8_t, 256> values{};
    values.fill(16);
    for (std::uint8_t digit = 0; digit < 16; ++digit) {
        values[static_cast<std::uint8_t>("0123456789abcdef"[digit])] = digit;
        values[static_cast<std::uint8_t>("0123456789ABCDEF"[digit])] = digit;
    }
    return values;
}();

/// The usual form, 8-4-4-4-12 digits. False for every other text, right or wrong.
inline bool read_plain_uuid(std::string_view text, boost::uuids::uuid& uuid)
{
    constexpr std::array<std::uint8_t, 4> hyphens{8, 13, 18, 23};
    constexpr std::array<std::uint8_t, 16> bytes{0, 2, 4, 6, 9, 11, 14, 16, 19, 21, 24, 26, 28, 30, 32, 34};
    if (text.size() != 36 || std::any_of(hyphens.begin(), hyphens.end(), [&](auto at) { return text[at] != '-'; })) {
        return false;
    }
    unsigned digits = 0; // one over the other: whatever is none leaves bit 4 set
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const unsigned high = hex_values[static_cast<std::uint8_t>(text[bytes[i]])];
        const unsigned low = hex_values[static_cast<std::uint8_t>(text[bytes[i] + 1U])];
        digits |= high | low;
        uuid.data[i] = static_cast<std::uint8_t>(high << 4U | low);
    }
    return digits < 16;
}

/// Throws what the library's generator throws, which reads all but the usual form.
inline boost::uuids::uuid read_uuid(std::string_view text)
{
    boost::uuids::uuid uuid{};
    return read_plain_uuid(text, uuid) ? uuid : boost::uuids::string_generator{}(text.begin(), text.end());
}

} // namespace qx::detail
