#include "qxnotify/output.h"

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

} // namespace

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
