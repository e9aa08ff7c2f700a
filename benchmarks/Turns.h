// SPDX-License-Identifier: MIT
// Things that are measured side by side, in one process.
#pragma once

#include <functional>
#include <map>
#include <string>

namespace benchmarks {

using Run = std::function<void()>;

/// By name: what makes a run, which is made only when it is asked for, so that it finds the process as it should be.
using Candidates = std::map<std::string, std::function<Run()>>;

/// A main: PROGRAM TURNS MILLISECONDS NAME... runs each of the named for about so long, one after the other, again and
/// again. Prints a line for each candidate of each turn: its name, and, for one run of it, nanoseconds of CPU time of
/// this process, nanoseconds by the clock, and allocations of memory.
/// PROGRAM runs COUNT NAME runs it that often and does nothing else, for those who count from outside.
int takeTurns(const Candidates& candidates, int argc, char** argv);

/// Calls of malloc, calloc, realloc and the like in this process so far, those of operator new among them.
unsigned long allocations();

/// Keeps the compiler from leaving out what made it.
template <class T>
void keep(const T& value)
{
    asm volatile("" : : "g"(&value) : "memory");
}

} // namespace benchmarks
