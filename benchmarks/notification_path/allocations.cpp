#include "allocations.h"

#include <cstdlib>
#include <new>

namespace {

thread_local std::uint64_t count = 0;

} // namespace

std::uint64_t qx::benchmark::allocations() noexcept
{
    return count;
}

void* operator new(std::size_t size)
{
    ++count;
    if (void* const memory = std::malloc(size == 0 ? 1 : size)) { // NOLINT(cppcoreguidelines-no-malloc): it is new
        return memory;
    }
    throw std::bad_alloc{};
}

void operator delete(void* memory) noexcept
{
    std::free(memory); // NOLINT(cppcoreguidelines-no-malloc): it is delete
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory); // NOLINT(cppcoreguidelines-no-malloc): it is delete
}
