/// What may be written to a terminal, and how.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace qx::tool {

bool is_terminal(int fd);

enum class ColourChoice { automatic, always, never };

/// `no_color` is the value of the environment variable NO_COLOR, or null: set and not empty, it switches automatic
/// colour off.
bool use_colour(ColourChoice choice, bool terminal, const char* no_color);

/// Makes foreign text fit for one line of a terminal: control characters, backslashes and bytes that are not UTF-8 come
/// out as escapes (\n, \x1b); everything else, letters of any script included, is kept.
std::string escaped(std::string_view text);

/// At most the first `bytes_max` bytes, escaped and in quotes; when something was cut, the whole length follows.
std::string quoted(std::string_view text, std::size_t bytes_max);

} // namespace qx::tool
