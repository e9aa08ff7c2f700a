// SPDX-License-Identifier: MIT
// Measures several candidates side by side in one process.
#pragma once

#include <functional>
#include <map>
#include <string>

namespace benchmarks {

using Run = std::function<void()>;

/// Functions by name that prepare a run. A run is prepared only when it is asked for, because the preparation of others
/// could change the process.
using Candidates = std::map<std::string, std::function<Run()>>;

/// The main() of a benchmark.
/// PROGRAM TURNS MILLISECONDS NAME... runs the named candidates one after the other in each turn, each for about this
/// time. Prints a line for each candidate and turn: its name, and for one run the nanoseconds of CPU time of this
/// process, the nanoseconds by the clock, and the number of allocations.
/// PROGRAM runs COUNT NAME only makes COUNT runs, for tools that count from outside.
int takeTurns(const Candidates& candidates, int argc, char** argv);

/// The number of allocations in this process so far: calls of malloc, calloc, realloc and operator new.
unsigned long allocations();

/// Keeps the compiler from removing the code that computes the value.
template <class T>
void keep(const T& value)
{
    asm volatile("" : : "g"(&value) : "memory");
}

} // namespace benchmarks
