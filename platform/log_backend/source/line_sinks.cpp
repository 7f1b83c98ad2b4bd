#include "line_sinks.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "report.h"

namespace qx::logging::backend {

namespace {

int openForAppend(const std::string& path)
{
    constexpr mode_t mode = 0644; // lines hold what peers sent: for the owner to write, for others at most to read
    const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, mode);
    if (descriptor < 0) {
        throw std::system_error(errno, std::generic_category(), path);
    }
    return descriptor;
}

std::string_view lineOf(const spdlog::details::log_msg& message)
{
    return {message.payload.data(), message.payload.size()};
}

} // namespace

void DescriptorSink::sink_it_(const spdlog::details::log_msg& message)
{
    m_writer.write(lineOf(message));
}

RotatingFileSink::RotatingFileSink(const std::string& path, std::size_t bytesMax, std::size_t fileCount)
    : m_path(path)
    , m_bytesMax(bytesMax)
    , m_fileCount(fileCount)
    , m_descriptor(openForAppend(path))
    , m_writer(m_descriptor)
{
    struct stat status {};
    if (fstat(m_descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        return;
    }
    std::error_code error;
    const auto real = std::filesystem::canonical(path, error);
    m_rotates = !error;
    m_path = real.string();
    m_bytes = static_cast<std::size_t>(status.st_size);
}

RotatingFileSink::~RotatingFileSink()
{
    close(m_descriptor);
}

void RotatingFileSink::sink_it_(const spdlog::details::log_msg& message)
{
    const std::string_view line = lineOf(message);
    if (m_rotates && m_bytes > 0 && m_bytes + line.size() > m_bytesMax) {
        rotateOrStay();
    }
    m_writer.write(line);
    m_bytes += line.size();
}

void RotatingFileSink::rotateOrStay() noexcept
{
    // Counts from nothing even when the rotation fails: a line too many in the file is better than none, and trying
    // again for each line would only be slow.
    m_bytes = 0;
    try {
        rotate();
    } catch (const std::exception& failure) {
        reportLoss(failure.what());
    }
}

void RotatingFileSink::rotate()
{
    if (m_fileCount == 1) {
        if (ftruncate(m_descriptor, 0) != 0) {
            throw std::system_error(errno, std::generic_category(), "truncating " + m_path);
        }
        m_writer = LineWriter(m_descriptor); // a line that broke off is gone with the rest
        return;
    }
    for (std::size_t i = m_fileCount - 1; i > 0; --i) {
        if (std::rename(oldPath(i - 1).c_str(), oldPath(i).c_str()) != 0 && errno != ENOENT) {
            throw std::system_error(errno, std::generic_category(), "renaming " + oldPath(i - 1));
        }
    }
    const int next = openForAppend(m_path);
    close(m_descriptor);
    m_descriptor = next;
    m_writer = LineWriter(next);
}

std::string RotatingFileSink::oldPath(std::size_t index) const
{
    return index == 0 ? m_path : m_path + "." + std::to_string(index);
}

} // namespace qx::logging::backend
