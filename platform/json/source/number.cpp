#include "number.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <clocale>
#include <cstdlib>
#include <limits>
#include <string>

namespace libjson::detail {

namespace {

constexpr std::string_view blanks = " \t\n\r";
constexpr std::string_view digit_characters = "0123456789";
/// Larger than any text, so that an exponent kept within it shifts out every digit there can be.
constexpr std::int64_t exponent_max = 1'000'000'000;

/// A number taken apart; the digits may start with zeros and may be missing on either side of the point.
struct Decimal {
    bool negative = false;
    std::string_view whole;
    std::string_view fraction;
    std::int64_t exponent = 0;
    std::string_view text; ///< all of it, as written

    std::size_t digits() const noexcept { return whole.size() + fraction.size(); }
    char digit(std::size_t i) const noexcept { return i < whole.size() ? whole[i] : fraction[i - whole.size()]; }
};

std::string_view take_digits(std::string_view& rest) noexcept
{
    const std::string_view digits = rest.substr(0, std::min(rest.find_first_not_of(digit_characters), rest.size()));
    rest.remove_prefix(digits.size());
    return digits;
}

bool take_sign(std::string_view& rest) noexcept
{
    const bool negative = rest.starts_with('-');
    if (negative || rest.starts_with('+')) {
        rest.remove_prefix(1);
    }
    return negative;
}

/// The exponent behind the digits, which is taken only when it is whole: of "1e" the number is 1.
std::int64_t take_exponent(std::string_view& rest) noexcept
{
    if (!rest.starts_with('e') && !rest.starts_with('E')) {
        return 0;
    }
    std::string_view behind = rest.substr(1);
    const bool negative = take_sign(behind);
    const std::string_view digits = take_digits(behind);
    if (digits.empty()) {
        return 0;
    }
    rest = behind;
    std::int64_t value = 0;
    for (const char c : digits) {
        value = std::min(value * 10 + (c - '0'), exponent_max);
    }
    return negative ? -value : value;
}

Decimal take_apart(std::string_view text) noexcept
{
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    std::string_view rest = text;
    Decimal number;
    number.negative = take_sign(rest);
    number.whole = take_digits(rest);
    if (number.whole.empty()) {
        return {};
    }
    if (rest.starts_with('.')) {
        rest.remove_prefix(1);
        number.fraction = take_digits(rest);
    }
    number.exponent = take_exponent(rest);
    number.text = text.substr(0, text.size() - rest.size());
    return number;
}

struct Magnitude {
    std::uint64_t value = 0;
    bool overflow = false;

    void append(unsigned digit) noexcept
    {
        overflow = overflow || __builtin_mul_overflow(value, std::uint64_t{10}, &value) ||
                   __builtin_add_overflow(value, std::uint64_t{digit}, &value);
    }
};

Magnitude truncate(const Decimal& number) noexcept
{
    const std::int64_t wanted = static_cast<std::int64_t>(number.whole.size()) + number.exponent;
    Magnitude magnitude;
    std::size_t i = 0;
    while (i < number.digits() && number.digit(i) == '0') {
        ++i;
    }
    if (i == number.digits()) {
        return magnitude; // zero, whatever the exponent: 0e999999999 must not be counted out
    }
    for (; static_cast<std::int64_t>(i) < wanted && !magnitude.overflow; ++i) {
        magnitude.append(i < number.digits() ? static_cast<unsigned>(number.digit(i) - '0') : 0);
    }
    return magnitude;
}

/// The decimal point of `strtod` is the locale's, and a program may set its locale at any time.
locale_t c_locale()
{
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
    return locale;
}

} // namespace

std::int64_t leading_integer(std::string_view text) noexcept
{
    std::int64_t plain = 0;
    if (const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), plain);
        error == std::errc{} && end == text.data() + text.size()) {
        return plain; // nothing but digits, as nearly always
    }
    constexpr auto lowest = std::numeric_limits<std::int64_t>::min();
    constexpr auto highest = std::numeric_limits<std::int64_t>::max();
    const Decimal number = take_apart(text);
    const auto [value, overflow] = truncate(number);
    if (number.negative) {
        return overflow || value > std::uint64_t{highest} ? lowest : -static_cast<std::int64_t>(value);
    }
    return overflow ? highest : std::bit_cast<std::int64_t>(value);
}

double leading_double(std::string_view text)
{
    // Copied: `strtod` would read on behind a string's leading number, as in "0x10".
    const std::string number(take_apart(text).text);
    return strtod_l(number.c_str(), nullptr, c_locale());
}

bool is_zero(std::string_view number) noexcept
{
    return number.substr(0, number.find_first_of("eE")).find_first_of("123456789") == std::string_view::npos;
}

} // namespace libjson::detail
