#include "qxnotify/output.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace qx::tool {

namespace {

int move_standard_output()
{
    std::fflush(stdout);
    const int moved = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
    if (moved == -1 || ::dup2(STDERR_FILENO, STDOUT_FILENO) == -1) {
        throw std::system_error(errno, std::generic_category(), "standard output");
    }
    return moved;
}

bool is_closed(int fd)
{
    return ::fcntl(fd, F_GETFD) == -1 && errno == EBADF;
}

} // namespace

void fill_standard_descriptors() noexcept
{
    // The wrong direction makes a use fail: an empty input or a lost output would pass for the real one.
    constexpr std::array<int, 3> directions{O_WRONLY, O_RDONLY, O_WRONLY};
    for (int fd = 0; fd < static_cast<int>(directions.size()); ++fd) {
        if (is_closed(fd)) {
            // It gets the lowest free number, which is this one: those below are open by now.
            [[maybe_unused]] const int opened = ::open("/dev/null", directions.at(static_cast<std::size_t>(fd)));
        }
    }
}

Written write_all(int fd, std::string_view text) noexcept
{
    while (!text.empty()) {
        const ssize_t written = ::write(fd, text.data(), text.size());
        if (written >= 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EINTR) {
            return errno == EPIPE ? Written::closed : Written::failed;
        }
    }
    return Written::yes;
}

RecordOutput::RecordOutput()
    : m_fd(move_standard_output())
{
}

} // namespace qx::tool
