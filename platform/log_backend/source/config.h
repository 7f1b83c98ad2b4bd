/// What the environment says about logging. A variable that is empty counts as not set.
///
///   QX_LOG_LEVEL           lowest level written: QXLOG_WARNING, warning, 20 …          default QXLOG_INFO_SEARCH
///   QX_LOG_FORMAT          text | json                                                  default text
///   QX_LOG_TIME            utc | local                                                  default utc
///   QX_LOG_FILE            write to this file instead of standard error                 default: standard error
///   QX_LOG_FILE_SIZE_MB    1…4096 MiB; a line that would pass it starts a new file      default 64
///   QX_LOG_FILE_COUNT      1…1000 files in all: path, path.1 (the youngest old one) …   default 8
///   QX_LOG_ASYNC           1…65536 lines of queue before a writing thread; full blocks  default: write at once
///
/// QX_LOG_LEVEL is read before main, so that statements of static objects are gated too; the others at the first
/// statement that is written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace qx::logging::backend {

enum class LineFormat { text, json };
enum class TimeZone { utc, local };

struct OutputConfig {
    LineFormat format = LineFormat::text;
    TimeZone timeZone = TimeZone::utc;
    std::string file;                              ///< empty: standard error
    std::size_t fileBytesMax = 64UL * 1024 * 1024; ///< of one file
    std::size_t fileCount = 8;                     ///< the one being written included
    std::size_t queueLines = 0;                    ///< 0: no queue
};

/// A value, and one line for each variable whose value was refused in favour of the default.
template <class T>
struct Reading {
    T value;
    std::vector<std::string> complaints;
};

/// Gives a variable's value or nullptr, as getenv does.
using Lookup = std::function<const char*(const char* name)>;

Reading<std::int32_t> readMinLevel(const Lookup& lookup);
Reading<OutputConfig> readOutputConfig(const Lookup& lookup);

} // namespace qx::logging::backend
