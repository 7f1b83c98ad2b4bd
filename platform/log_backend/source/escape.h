/// Makes any bytes safe to stand inside one log line.
#pragma once

#include <string>
#include <string_view>

namespace qx::logging::backend {

/// Appends `bytes` with control characters and DEL written as \n, \r, \t or \xHH, and a backslash doubled, so that the
/// original can be read back. Bytes from 0x80 up pass unchanged.
void appendEscapedText(std::string& out, std::string_view bytes);

/// Appends `bytes` as one JSON string, quotes included. What is not well-formed UTF-8 becomes U+FFFD, byte by byte.
void appendJsonString(std::string& out, std::string_view bytes);

} // namespace qx::logging::backend
