// A file of its own: inlined next to an allocation, the replaced operators look mismatched to the compiler.
#include "tests/doubles/allocation_count.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<int> allocations{0};
std::atomic<bool> failing{false};
} // namespace

int qx::test::allocationCount()
{
    return allocations;
}

void qx::test::failNextAllocation()
{
    failing = true;
}

void* operator new(std::size_t size)
{
    ++allocations;
    if (!failing.exchange(false)) {
        if (void* memory = std::malloc(size)) {
            return memory;
        }
    }
    throw std::bad_alloc{};
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}
