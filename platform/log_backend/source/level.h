/// Level names, as operators write and read them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qx::logging::backend {

/// "WARNING" for QXLOG_WARNING; "LEVEL_25" for a number that has no name.
std::string levelName(std::int32_t level);

/// A name with or without "QXLOG_", in any case, or a whole 32-bit decimal number. Anything else gives nothing.
std::optional<std::int32_t> parseLevel(std::string_view text);

} // namespace qx::logging::backend
