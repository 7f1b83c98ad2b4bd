#include "line_format.h"

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <iterator>
#include <string_view>

#include <fmt/format.h>

#include "escape.h"
#include "level.h"

namespace qx::logging::backend {

namespace {

constexpr std::int64_t nanosecondsPerMicrosecond = 1000;

std::string offsetOf(const std::tm& local)
{
    const long minutes = std::labs(local.tm_gmtoff) / 60;
    return fmt::format("{}{:02}:{:02}", local.tm_gmtoff < 0 ? '-' : '+', minutes / 60, minutes % 60);
}

/// Not by `gmtime_r`, which takes a lock of the C library's that a forked child may find held for ever.
std::tm inUtc(std::int64_t seconds)
{
    const std::chrono::sys_seconds time{std::chrono::seconds{seconds}};
    const auto day = std::chrono::floor<std::chrono::days>(time);
    const std::chrono::year_month_day date{day};
    const std::chrono::hh_mm_ss clock{time - day};
    std::tm broken{};
    broken.tm_year = static_cast<int>(date.year()) - 1900;
    broken.tm_mon = static_cast<int>(static_cast<unsigned>(date.month())) - 1;
    broken.tm_mday = static_cast<int>(static_cast<unsigned>(date.day()));
    broken.tm_hour = static_cast<int>(clock.hours().count());
    broken.tm_min = static_cast<int>(clock.minutes().count());
    broken.tm_sec = static_cast<int>(clock.seconds().count());
    return broken;
}

std::tm inLocalTime(std::time_t seconds)
{
    std::tm broken{};
    localtime_r(&seconds, &broken);
    return broken;
}

std::string formatTime(const LogRecord::Time& time, TimeZone zone)
{
    const std::tm broken = zone == TimeZone::utc ? inUtc(time.seconds) : inLocalTime(time.seconds);
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:06}{}", broken.tm_year + 1900, broken.tm_mon + 1,
                       broken.tm_mday, broken.tm_hour, broken.tm_min, broken.tm_sec,
                       time.nanoseconds / nanosecondsPerMicrosecond, zone == TimeZone::utc ? "Z" : offsetOf(broken));
}

std::string sourceChain(const ConstSourcePtr& source)
{
    std::string chain;
    if (source == nullptr) {
        return chain;
    }
    const ConstSourcePtr outermost = source->Reverse();
    for (const Source* s = outermost.get(); s != nullptr; s = s->Parent().get()) {
        chain += chain.empty() ? "" : "/";
        chain += s->Name();
    }
    return chain;
}

std::string_view decodeName(DecodeType type)
{
    switch (type) {
    case QXLOG_DECODE_AS_NONE:
        return "none";
    case QXLOG_DECODE_AS_KV:
        return "kv";
    case QXLOG_DECODE_AS_JSON:
        return "json";
    case QXLOG_DECODE_AS_MIXED:
        return "mixed";
    case QXLOG_DECODE_AS_PB:
        return "pb";
    }
    return "none"; // a caller's number outside the enumeration
}

std::string_view fileOf(const LogRecord& record)
{
    return record.file != nullptr ? record.file : "";
}

void appendField(std::string& line, std::string_view value)
{
    line += ' ';
    appendEscapedText(line, value.empty() ? "-" : value);
}

std::string textLine(const LogRecord& record, TimeZone zone)
{
    std::string line =
        fmt::format("{} {} {}", formatTime(record.logTime, zone), record.threadId, levelName(record.level));
    appendField(line, sourceChain(record.source));
    appendField(line, fileOf(record));
    fmt::format_to(std::back_inserter(line), ":{} ", record.line);
    appendEscapedText(line, record.msg);
    return line;
}

void appendMember(std::string& line, std::string_view key, std::string_view value)
{
    fmt::format_to(std::back_inserter(line), ",\"{}\":", key);
    appendJsonString(line, value);
}

std::string jsonLine(const LogRecord& record, TimeZone zone)
{
    std::string line =
        fmt::format(R"({{"time":"{}","thread":{},"level":"{}","severity":{})", formatTime(record.logTime, zone),
                    record.threadId, levelName(record.level), static_cast<std::int32_t>(record.level));
    appendMember(line, "source", sourceChain(record.source));
    appendMember(line, "file", fileOf(record));
    fmt::format_to(std::back_inserter(line), R"(,"line":{},"id":{},"decode":"{}")", record.line, record.id,
                   decodeName(record.decodeType));
    appendMember(line, "text", record.msg);
    line += '}';
    return line;
}

} // namespace

std::string formatLine(const LogRecord& record, LineFormat format, TimeZone zone)
{
    std::string line = format == LineFormat::json ? jsonLine(record, zone) : textLine(record, zone);
    line += '\n';
    return line;
}

} // namespace qx::logging::backend
