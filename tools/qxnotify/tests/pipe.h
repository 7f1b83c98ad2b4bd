/// A pipe for tests, its ends closed one by one or at the end.
#pragma once

#include <array>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <unistd.h>

namespace qx::tool {

class Pipe {
public:
    Pipe() { m_open = ::pipe2(m_fds.data(), O_CLOEXEC) == 0; }
    ~Pipe()
    {
        close_reader();
        close_writer();
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    bool is_open() const { return m_open; }
    int reader() const { return m_fds[0]; }
    int writer() const { return m_fds[1]; }
    void close_reader() { close(m_fds[0]); }
    void close_writer() { close(m_fds[1]); }
    bool put(std::string_view text) const
    {
        return ::write(m_fds[1], text.data(), text.size()) == static_cast<ssize_t>(text.size());
    }

private:
    static void close(int& fd)
    {
        if (fd != -1) {
            ::close(fd);
            fd = -1;
        }
    }

    std::array<int, 2> m_fds{-1, -1};
    bool m_open = false;
};

} // namespace qx::tool
