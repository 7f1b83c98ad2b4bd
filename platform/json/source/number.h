/// Reading numbers from their text. Nothing here depends on the process's locale.
#pragma once

#include <cstdint>
#include <string_view>

namespace libjson::detail {

/// The number at the start of the text, blanks before it skipped, truncated toward zero; 0 when there is none.
/// -2^63 ... 2^64-1 exactly, from 2^63 up with the bits of the unsigned value; beyond that the nearest signed value.
std::int64_t leading_integer(std::string_view text) noexcept;

/// The nearest double to the number at the start of the text; 0 when there is none, infinite when it is too large.
double leading_double(std::string_view text);

/// Whether a number is zero as it is written: 1e-400 is not, although no double is that small.
bool is_zero(std::string_view number) noexcept;

} // namespace libjson::detail
