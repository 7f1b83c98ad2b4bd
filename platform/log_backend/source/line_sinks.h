/// Where finished lines go. A sink takes a message's payload as the line, line feed included, and formats nothing.
///
/// Threads   any; a sink's lock keeps its lines whole.
/// Errors    `log` throws std::system_error for a line that was not written.
#pragma once

#include <cstddef>
#include <mutex>
#include <string>

#include <spdlog/sinks/base_sink.h>

#include "line_writer.h"

namespace qx::logging::backend {

/// A sink whose lock can be held by others, so that a fork finds no line half written.
class LineSink : public spdlog::sinks::base_sink<std::mutex> {
public:
    void lock() { mutex_.lock(); }
    void unlock() { mutex_.unlock(); }

private:
    void flush_() final {} // nothing is held back
};

/// Standard error or standard output, unbuffered.
class DescriptorSink final : public LineSink {
public:
    explicit DescriptorSink(int descriptor)
        : m_writer(descriptor)
    {
    }

private:
    void sink_it_(const spdlog::details::log_msg& message) override;

    LineWriter m_writer;
};

/// A file, appended to, that makes way for a new one before it grows beyond `bytesMax`: path becomes path.1, path.1
/// becomes path.2, and so on; `fileCount` files are kept in all. What an earlier run left in the file counts. A line
/// longer than `bytesMax` is not cut: it has a file of its own, as large as it needs. Only a regular file rotates; a
/// pipe or device, say /dev/stdout, is just written to. A symbolic link is followed, and the file that it names
/// rotates. One process per file: two that rotate the same one would push out each other's lines.
class RotatingFileSink final : public LineSink {
public:
    /// Throws std::system_error when the file cannot be opened.
    RotatingFileSink(const std::string& path, std::size_t bytesMax, std::size_t fileCount);
    ~RotatingFileSink() override;
    RotatingFileSink(const RotatingFileSink&) = delete;
    RotatingFileSink& operator=(const RotatingFileSink&) = delete;

private:
    void sink_it_(const spdlog::details::log_msg& message) override;
    void rotateOrStay() noexcept;
    void rotate();
    std::string oldPath(std::size_t index) const;

    std::string m_path;
    const std::size_t m_bytesMax;
    const std::size_t m_fileCount;
    int m_descriptor;
    LineWriter m_writer;
    bool m_rotates = false;
    std::size_t m_bytes = 0; ///< since the file was begun
};

} // namespace qx::logging::backend
