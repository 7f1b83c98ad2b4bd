/// Lines from a pipe or socket, as far as they have come.
#pragma once

#include <optional>
#include <string>

namespace qx::tool {

class PipeLines {
public:
    /// The descriptor is the caller's and must outlive it.
    explicit PipeLines(int fd)
        : m_fd(fd)
    {
    }

    /// One read, which waits when nothing is there. False at the end. Throws std::system_error.
    bool collect();
    /// The next whole line, without its line feed; none as long as it is not whole.
    std::optional<std::string> next();

private:
    int m_fd;
    std::string m_text;
};

} // namespace qx::tool
