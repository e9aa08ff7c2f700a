// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

/// The memory of each thread of the test program: the allocated bytes, and the size above which an allocation fails.
inline thread_local std::size_t allocated = 0;
inline thread_local std::size_t largestAllocation = SIZE_MAX;
