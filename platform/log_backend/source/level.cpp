#include "level.h"

#include <algorithm>
#include <array>
#include <charconv>

#include <logger/logger.h>

namespace qx::logging::backend {

namespace {

struct NamedLevel {
    std::string_view name;
    LogLevel level;
};

constexpr std::array<NamedLevel, 9> namedLevels{{
    {"DEBUG", QXLOG_DEBUG},
    {"INFO", QXLOG_INFO},
    {"INFO_LOCAL", QXLOG_INFO_LOCAL},
    {"INFO_SEARCH", QXLOG_INFO_SEARCH},
    {"WARNING", QXLOG_WARNING},
    {"ERROR", QXLOG_ERROR},
    {"ALERT", QXLOG_ALERT},
    {"CRITICAL", QXLOG_CRITICAL},
    {"WALL", QXLOG_WALL},
}};

constexpr std::string_view prefix = "QXLOG_";

std::string upperCased(std::string_view text)
{
    std::string upper(text);
    // Not std::toupper: a level's name must not depend on the locale that the host program has set.
    std::transform(upper.begin(), upper.end(), upper.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    return upper;
}

std::optional<std::int32_t> parseNumber(std::string_view text)
{
    std::int32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return number;
}

} // namespace

std::string levelName(std::int32_t level)
{
    const auto* const found = std::find_if(namedLevels.begin(), namedLevels.end(),
                                           [level](const NamedLevel& named) { return named.level == level; });
    return found != namedLevels.end() ? std::string(found->name) : "LEVEL_" + std::to_string(level);
}

std::optional<std::int32_t> parseLevel(std::string_view text)
{
    const std::string upper = upperCased(text);
    const auto name = std::string_view(upper).substr(upper.starts_with(prefix) ? prefix.size() : 0);
    const auto* const found = std::find_if(namedLevels.begin(), namedLevels.end(),
                                           [name](const NamedLevel& named) { return named.name == name; });
    return found != namedLevels.end() ? found->level : parseNumber(text);
}

} // namespace qx::logging::backend
