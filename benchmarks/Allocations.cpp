// SPDX-License-Identifier: MIT
// Replaces the C library's allocation functions by ones that count. The calls of the C library itself and of other
// libraries are counted as well.
#include "Turns.h"

#include <atomic>
#include <cerrno>
#include <cstddef>

// NOLINTBEGIN: the C library's names
extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
void __libc_free(void*);
}

namespace {
std::atomic<unsigned long> count{0};
}

extern "C" {
void* malloc(std::size_t size)
{
    count.fetch_add(1, std::memory_order_relaxed);
    return __libc_malloc(size);
}

void* calloc(std::size_t number, std::size_t size)
{
    count.fetch_add(1, std::memory_order_relaxed);
    return __libc_calloc(number, size);
}

void* realloc(void* memory, std::size_t size)
{
    count.fetch_add(1, std::memory_order_relaxed);
    return __libc_realloc(memory, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size)
{
    count.fetch_add(1, std::memory_order_relaxed);
    return __libc_memalign(alignment, size);
}

void free(void* memory)
{
    __libc_free(memory);
}
}
// NOLINTEND

unsigned long benchmarks::allocations()
{
    return count;
}
