#include "line_writer.h"

#include <cerrno>
#include <cstddef>
#include <system_error>

#include <poll.h>
#include <unistd.h>

#include "signals_held.h"

namespace qx::logging::backend {

namespace {

/// A terminal or pipe that the host program made non-blocking must not cost lines.
void waitUntilWritable(int descriptor)
{
    pollfd waited{descriptor, POLLOUT, 0};
    static_cast<void>(poll(&waited, 1, -1)); // whatever it says, the next write tells
}

} // namespace

void LineWriter::write(std::string_view line)
{
    const SignalsHeld guard;
    if (m_torn) {
        writeAll("\n");
        m_torn = false;
    }
    writeAll(line);
}

void LineWriter::writeAll(std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(m_descriptor, bytes.data(), bytes.size());
        if (written >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
            m_torn = !bytes.empty();
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            waitUntilWritable(m_descriptor);
        } else if (errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "write");
        }
    }
}

} // namespace qx::logging::backend
