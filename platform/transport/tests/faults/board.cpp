#include "board.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <new>
#include <system_error>

namespace test {

void Unmap::operator()(Board* board) const noexcept
{
    munmap(board, sizeof(Board));
}

BoardPtr map_board(const std::string& path)
{
    const int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (file < 0 || ftruncate(file, sizeof(Board)) != 0) {
        throw std::system_error(errno, std::generic_category(), path);
    }
    void* const memory = mmap(nullptr, sizeof(Board), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    if (memory == MAP_FAILED) {
        throw std::system_error(errno, std::generic_category(), path);
    }
    return BoardPtr{static_cast<Board*>(memory)};
}

} // namespace test
