#pragma once

#include <cerrno>
#include <system_error>

#include <sys/resource.h>

namespace qx::test {

/// While it lives, no file of this process grows beyond `bytes`: a write stops there, the next one fails.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limited{bytes, m_before.rlim_max};
        if (setrlimit(RLIMIT_FSIZE, &limited) != 0) {
            throw std::system_error(errno, std::generic_category(), "setrlimit");
        }
    }
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &m_before); }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit m_before{};
};

} // namespace qx::test
