/// The text of a UUID.
#pragma once

#include <string_view>

#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid.hpp>

namespace qx::detail {

/// Of a hexadecimal digit; 16 if it is none.
constexpr unsigned hex_value(char c)
{
    if (c >= '0' && c <= '9') {
        return static_cast<unsigned>(c - '0');
    }
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? static_cast<unsigned>(lower - 'a') + 10 : 16;
}

/// The usual form, 8-4-4-4-12 digits. False for every other text, right or wrong.
inline bool read_plain_uuid(std::string_view text, boost::uuids::uuid& uuid)
{
    constexpr std::string_view form = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
    if (text.size() != form.size()) {
        return false;
    }
    auto* byte = uuid.begin();
    for (std::size_t i = 0; i < form.size(); ++i) {
        if (form[i] == '-') {
            if (text[i] != '-') {
                return false;
            }
            continue;
        }
        const unsigned high = hex_value(text[i]);
        const unsigned low = hex_value(text[++i]);
        if (high > 15 || low > 15) {
            return false;
        }
        *byte++ = static_cast<std::uint8_t>(high * 16 + low);
    }
    return true;
}

/// Throws what the library's generator throws, which reads all but the usual form.
inline boost::uuids::uuid read_uuid(std::string_view text)
{
    boost::uuids::uuid uuid{};
    return read_plain_uuid(text, uuid) ? uuid : boost::uuids::string_generator{}(text.begin(), text.end());
}

} // namespace qx::detail
