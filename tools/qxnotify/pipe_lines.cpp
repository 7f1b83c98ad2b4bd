#include "qxnotify/pipe_lines.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <system_error>

#include <unistd.h>

namespace qx::tool {

bool PipeLines::collect()
{
    std::array<char, 4'096> buffer{};
    ssize_t count = -1;
    do {
        count = ::read(m_fd, buffer.data(), buffer.size());
    } while (count == -1 && errno == EINTR);
    if (count == -1 && errno == ECONNRESET) { // the other end went without hearing what it was told last
        return false;
    }
    if (count == -1) {
        throw std::system_error(errno, std::generic_category(), "read");
    }
    m_text.append(buffer.data(), static_cast<std::size_t>(count));
    return count > 0;
}

std::optional<std::string> PipeLines::next()
{
    const auto end = m_text.find('\n');
    if (end == std::string::npos) {
        return {};
    }
    std::string line = m_text.substr(0, end);
    m_text.erase(0, end + 1);
    return line;
}

} // namespace qx::tool
