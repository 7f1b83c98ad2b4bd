#include "qxnotify/triage_input.h"

#include <array>
#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

#include "qxnotify/terminal.h"
#include "qxnotify/triage_exit.h"

namespace qx::tool {

namespace {

/// One input, its name fit for a message.
class Input {
public:
    Input(std::string name, int fd, const InputLimits& limits)
        : m_name(std::move(name))
        , m_limits(limits)
        , m_fd(fd)
    {
        if (fd == -1) {
            fail(std::generic_category().message(errno));
        }
    }

    std::string read_all(StopSignals& stop)
    {
        while (wait_for(m_fd.get(), stop, {}) == Woken::ready) {
            if (!read_some()) {
                return std::move(m_bytes);
            }
            if (m_bytes.size() > m_limits.bytes_max) {
                fail("more than " + std::to_string(m_limits.bytes_max >> 20U) + " MiB");
            }
        }
        fail("ended by " + signal_name(stop.received()));
    }

private:
    /// False at the end.
    bool read_some()
    {
        std::array<char, 65'536> buffer{};
        const ssize_t count = ::read(m_fd.get(), buffer.data(), buffer.size());
        if (count == -1 && errno != EAGAIN) {
            fail(std::generic_category().message(errno));
        }
        m_bytes.append(buffer.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
        return count != 0;
    }
    [[noreturn]] void fail(const std::string& what) const
    {
        throw TriageSetupError(m_name + ": " + what + m_limits.advice);
    }

    const std::string m_name;
    const InputLimits& m_limits;
    Descriptor m_fd;
    std::string m_bytes;
};

} // namespace

std::string read_file(const std::string& path, const InputLimits& limits, StopSignals& stop)
{
    // Opening a pipe would wait for a writer, and no signal would end that.
    return Input(escaped(path), ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK), limits).read_all(stop);
}

std::string read_standard_input(const InputLimits& limits, StopSignals& stop)
{
    return Input("standard input", ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3), limits).read_all(stop);
}

} // namespace qx::tool
