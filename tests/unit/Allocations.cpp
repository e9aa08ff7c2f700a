// SPDX-License-Identifier: MIT
#include "Allocations.h"

#include <cstdlib>
#include <new>

[[gnu::noinline]] void* operator new(std::size_t size)
{
    allocated += size;
    void* const memory = size <= largestAllocation ? std::malloc(size) : nullptr;
    return memory != nullptr ? memory : throw std::bad_alloc();
}

[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    return std::malloc(size);
}

[[gnu::noinline]] void operator delete(void* memory) noexcept
{
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}
