// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

/// The test program's memory, of each thread: what it was given, in bytes, and what it can be made short of.
inline thread_local std::size_t allocated = 0;
inline thread_local std::size_t largestAllocation = SIZE_MAX;
