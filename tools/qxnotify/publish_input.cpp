#include "qxnotify/publish_input.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qx::tool {

namespace {

constexpr std::size_t buffer_bytes = 65'536;

[[noreturn]] void throw_errno(const std::string& name)
{
    throw std::system_error(errno, std::generic_category(), name);
}

/// Bytes of a regular file; none for pipes and terminals.
std::optional<std::uint64_t> size_of(int fd)
{
    struct stat info {};
    if (::fstat(fd, &info) == 0 && S_ISREG(info.st_mode)) {
        return static_cast<std::uint64_t>(info.st_size);
    }
    return {};
}

int open_file(const std::string& given, const std::string& name)
{
    const int fd =
        given == "-" ? ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3) : ::open(given.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd == -1) {
        throw_errno(name);
    }
    return fd;
}

struct InputFile {
    InputFile(const std::string& given, StopSignals& stop)
        : name(given == "-" ? "standard input" : given)
        , fd(open_file(given, name))
        , size(size_of(fd.get()))
        , reader(fd.get(), stop)
    {
    }

    std::string name;
    Descriptor fd;
    std::optional<std::uint64_t> size;
    LineReader reader;
    std::uint64_t line_number = 0;
};

class Files : public LineSource {
public:
    Files(std::vector<std::string> files, StopSignals& stop)
        : m_files(std::move(files))
        , m_stop(stop)
    {
    }

    ReadResult next(std::string& line) override
    {
        for (; m_next < m_files.size() || m_file; m_file.reset()) {
            if (!m_file) {
                m_file = std::make_unique<InputFile>(m_files[m_next++], m_stop);
            }
            const ReadResult result = m_file->reader.next(line);
            if (result == ReadResult::failed) {
                throw_errno(m_file->name);
            }
            if (result != ReadResult::end) {
                ++m_file->line_number;
                return result;
            }
        }
        return ReadResult::end;
    }

    std::string place() const override
    {
        return m_file ? m_file->name + ":" + std::to_string(m_file->line_number) : std::string{};
    }

    std::optional<double> fraction() const override
    {
        // Of several files only the number is known before they are opened.
        if (!m_file || !m_file->size || *m_file->size == 0) {
            return {};
        }
        const double within = static_cast<double>(m_file->reader.bytes_read()) / static_cast<double>(*m_file->size);
        return (static_cast<double>(m_next - 1) + std::min(within, 1.0)) / static_cast<double>(m_files.size());
    }

private:
    const std::vector<std::string> m_files;
    StopSignals& m_stop;
    std::size_t m_next = 0;
    std::unique_ptr<InputFile> m_file;
};

class Generator : public LineSource {
public:
    Generator(const GeneratorOptions& options, std::vector<std::uint64_t> markets)
        : m_options(options)
        , m_markets(std::move(markets))
    {
    }

    ReadResult next(std::string& line) override
    {
        if (m_made == m_options.count) {
            return ReadResult::end;
        }
        const auto made = sample::make_notification(m_options.seed, m_made++, m_markets, m_options.size);
        line = R"({"market":)" + std::to_string(made.market) + R"(,"et":")" + made.event_type + R"(","dt":")" +
               made.data_type + R"(","id":")" + made.id + '"' + (made.data.empty() ? "" : R"(,"data":)" + made.data) +
               '}';
        return ReadResult::line;
    }

    std::string place() const override { return "generated record " + std::to_string(m_made); }

    std::optional<double> fraction() const override
    {
        return static_cast<double>(m_made) / static_cast<double>(m_options.count);
    }

private:
    const GeneratorOptions m_options;
    const std::vector<std::uint64_t> m_markets;
    std::uint64_t m_made = 0;
};

} // namespace

LineReader::LineReader(int fd, StopSignals& stop, std::size_t bytes_max)
    : m_fd(fd)
    , m_stop(stop)
    , m_bytesMax(bytes_max)
    , m_buffer(buffer_bytes)
{
}

/// `line` when there are bytes to look at.
ReadResult LineReader::fill()
{
    if (m_begin < m_end) {
        return ReadResult::line;
    }
    if (wait_for(m_fd, m_stop, {}) == Woken::stopped) {
        return ReadResult::stopped;
    }
    const ssize_t count = ::read(m_fd, m_buffer.data(), m_buffer.size());
    if (count <= 0) {
        return count == 0 ? ReadResult::end : ReadResult::failed;
    }
    m_begin = 0;
    m_end = static_cast<std::size_t>(count);
    m_bytesRead += m_end;
    return ReadResult::line;
}

ReadResult LineReader::next(std::string& line)
{
    line.clear();
    bool too_long = false;
    bool any = false;
    for (;;) {
        const ReadResult filled = fill();
        if (filled == ReadResult::end && any) {
            return too_long ? ReadResult::too_long : ReadResult::line;
        }
        if (filled != ReadResult::line) {
            return filled;
        }
        any = true;
        const char* begin = m_buffer.data() + m_begin;
        const auto* feed = static_cast<const char*>(std::memchr(begin, '\n', m_end - m_begin));
        const std::size_t count = feed != nullptr ? static_cast<std::size_t>(feed - begin) : m_end - m_begin;
        m_begin += count + (feed != nullptr ? 1 : 0);
        too_long = too_long || line.size() + count > m_bytesMax;
        if (!too_long) {
            line.append(begin, count);
        }
        if (feed != nullptr) {
            return too_long ? ReadResult::too_long : ReadResult::line;
        }
    }
}

std::unique_ptr<LineSource> open_files(std::vector<std::string> files, StopSignals& stop)
{
    return std::make_unique<Files>(std::move(files), stop);
}

std::unique_ptr<LineSource> open_generator(const GeneratorOptions& options, std::vector<std::uint64_t> markets)
{
    return std::make_unique<Generator>(options, std::move(markets));
}

} // namespace qx::tool
