/// Where `qxnotify publish` takes its lines from, one at a time and in bounded memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "qxnotify/publish_options.h"
#include "qxnotify/signals.h"

namespace qx::tool {

/// Longer lines are refused. Far above any record, and what one line can make us hold.
inline constexpr std::size_t line_bytes_max = std::size_t{8} * 1024 * 1024;

enum class ReadResult { line, too_long, end, stopped, failed };

/// Lines of a file descriptor, without their line feed; a last line need not have one.
class LineReader {
public:
    /// Borrows the descriptor.
    LineReader(int fd, StopSignals& stop, std::size_t bytes_max = line_bytes_max);

    /// After `too_long` the line is gone and the next call goes on behind it. `failed` leaves errno.
    ReadResult next(std::string& line);
    std::uint64_t bytes_read() const { return m_bytesRead; }

private:
    ReadResult fill();

    const int m_fd;
    StopSignals& m_stop;
    const std::size_t m_bytesMax;
    std::vector<char> m_buffer;
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
    std::uint64_t m_bytesRead = 0;
};

/// Lines and where they come from.
class LineSource {
public:
    virtual ~LineSource() = default;
    /// Throws std::system_error when the source cannot be opened or read.
    virtual ReadResult next(std::string& line) = 0;
    /// Of the line that `next` gave last: "records.jsonl:12".
    virtual std::string place() const = 0;
    /// 0 to 1; none when the end is not known.
    virtual std::optional<double> fraction() const = 0;
};

/// Files one after the other, "-" being standard input. They are opened when their turn comes.
std::unique_ptr<LineSource> open_files(std::vector<std::string> files, StopSignals& stop);

/// Generated notifications, as lines.
std::unique_ptr<LineSource> open_generator(const GeneratorOptions& options, std::vector<std::uint64_t> markets);

} // namespace qx::tool
