#include "surrogates.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <optional>

namespace libjson::detail {

namespace {

constexpr std::size_t escape_bytes = 6; // \uXXXX

/// The code unit of the escape at the start of the text, if one is there and whole.
std::optional<unsigned> code_unit(std::span<const char> text) noexcept
{
    if (text.size() < escape_bytes || text[0] != '\\' || text[1] != 'u') {
        return std::nullopt;
    }
    unsigned unit = 0;
    const char* end = text.data() + escape_bytes;
    const auto [stop, error] = std::from_chars(text.data() + 2, end, unit, 16);
    return stop == end && error == std::errc{} ? std::optional(unit) : std::nullopt;
}

bool is_high(std::optional<unsigned> unit) noexcept
{
    return unit && *unit >= 0xD800 && *unit <= 0xDBFF;
}
bool is_low(std::optional<unsigned> unit) noexcept
{
    return unit && *unit >= 0xDC00 && *unit <= 0xDFFF;
}

/// Handles the escape at the start of the text and gives its length, a pair counting as one.
std::size_t pass_escape(std::span<char> text) noexcept
{
    const auto unit = code_unit(text);
    if (is_high(unit) && is_low(code_unit(text.subspan(escape_bytes)))) {
        return 2 * escape_bytes;
    }
    if (is_high(unit) || is_low(unit)) {
        std::memcpy(&text[2], "FFFD", 4);
    }
    return unit ? escape_bytes : std::min<std::size_t>(2, text.size());
}

} // namespace

void replace_lone_surrogates(std::span<char> text) noexcept
{
    // A backslash outside a string is an error that the parser reports; treating it as an escape here does no harm.
    while (true) {
        auto* escape = static_cast<char*>(std::memchr(text.data(), '\\', text.size()));
        if (escape == nullptr) {
            return;
        }
        text = text.subspan(static_cast<std::size_t>(escape - text.data()));
        text = text.subspan(pass_escape(text));
    }
}

} // namespace libjson::detail
