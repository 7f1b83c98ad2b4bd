#include "config.h"

#include <charconv>
#include <optional>
#include <string_view>
#include <utility>

#include <fmt/format.h>
#include <logger/logger.h>

#include "level.h"

namespace qx::logging::backend {

namespace {

constexpr std::size_t bytesPerMegabyte = 1024UL * 1024UL;
constexpr std::size_t fileMegabytesMax = 4096;
constexpr std::size_t fileCountMax = 1000;
constexpr std::size_t queueLinesMax = 65'536; // the queue's slots are made in advance, some 400 bytes each

class Environment {
public:
    explicit Environment(const Lookup& lookup)
        : m_lookup(lookup)
    {
    }

    /// Gives the variable's value to `parse`; sets `target` when that accepts it, complains when it does not.
    template <class T, class Parse>
    void read(const char* name, std::string_view accepted, Parse parse, T& target)
    {
        const char* const text = m_lookup(name);
        if (text == nullptr || *text == '\0') {
            return;
        }
        if (const std::optional<T> value = parse(std::string_view(text))) {
            target = *value;
        } else {
            complain(name, text, accepted);
        }
    }

    std::vector<std::string> takeComplaints() { return std::move(m_complaints); }

private:
    void complain(const char* name, std::string_view value, std::string_view accepted)
    {
        m_complaints.push_back(
            fmt::format("{}='{}' is not accepted ({}); the default stays in force", name, value, accepted));
    }

    const Lookup& m_lookup;
    std::vector<std::string> m_complaints;
};

auto numberIn(std::size_t low, std::size_t high)
{
    return [low, high](std::string_view text) -> std::optional<std::size_t> {
        std::size_t number = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
        const bool whole = error == std::errc{} && end == text.data() + text.size();
        return whole && number >= low && number <= high ? std::optional(number) : std::nullopt;
    };
}

template <class T>
auto oneOf(std::string_view firstName, T first, std::string_view secondName, T second)
{
    return [=](std::string_view text) -> std::optional<T> {
        if (text == firstName) {
            return first;
        }
        return text == secondName ? std::optional(second) : std::nullopt;
    };
}

std::optional<std::string> anyText(std::string_view text)
{
    return std::string(text);
}

} // namespace

Reading<std::int32_t> readMinLevel(const Lookup& lookup)
{
    Environment environment(lookup);
    std::int32_t level = QXLOG_INFO_SEARCH;
    environment.read("QX_LOG_LEVEL",
                     "DEBUG, INFO, INFO_LOCAL, INFO_SEARCH, WARNING, ERROR, ALERT, CRITICAL or WALL, with or without "
                     "QXLOG_, or a 32-bit number",
                     parseLevel, level);
    return {level, environment.takeComplaints()};
}

Reading<OutputConfig> readOutputConfig(const Lookup& lookup)
{
    Environment environment(lookup);
    OutputConfig config;
    environment.read("QX_LOG_FORMAT", "text or json", oneOf("text", LineFormat::text, "json", LineFormat::json),
                     config.format);
    environment.read("QX_LOG_TIME", "utc or local", oneOf("utc", TimeZone::utc, "local", TimeZone::local),
                     config.timeZone);
    environment.read("QX_LOG_FILE", "a path", anyText, config.file);
    std::size_t megabytes = config.fileBytesMax / bytesPerMegabyte;
    environment.read("QX_LOG_FILE_SIZE_MB", fmt::format("1 to {}", fileMegabytesMax), numberIn(1, fileMegabytesMax),
                     megabytes);
    config.fileBytesMax = megabytes * bytesPerMegabyte;
    environment.read("QX_LOG_FILE_COUNT", fmt::format("1 to {}", fileCountMax), numberIn(1, fileCountMax),
                     config.fileCount);
    environment.read("QX_LOG_ASYNC", fmt::format("1 to {} lines", queueLinesMax), numberIn(1, queueLinesMax),
                     config.queueLines);
    return {config, environment.takeComplaints()};
}

} // namespace qx::logging::backend
