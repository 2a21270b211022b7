#include "bench/pieces/allocations.h"

#include <cstdlib>
#include <new>

std::uint64_t bench::allocation_count = 0;

// The other forms of new and delete that are in use here call these by themselves.
void* operator new(std::size_t size)
{
    ++bench::allocation_count;
    void* const memory = std::malloc(size);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}
