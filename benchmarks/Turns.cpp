// SPDX-License-Identifier: MIT
#include "Turns.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <vector>

#include <time.h>

namespace benchmarks {
namespace {

using Nanoseconds = std::chrono::nanoseconds;

Nanoseconds now(clockid_t clock)
{
    timespec time{};
    ::clock_gettime(clock, &time);
    return std::chrono::seconds(time.tv_sec) + Nanoseconds(time.tv_nsec);
}

void repeat(const Run& run, long count)
{
    for (; count > 0; --count) {
        run();
    }
}

struct Entry
{
    std::string name;
    Run run;
    long count; // runs in a turn
};

/// Returns how many runs fit into a turn. Makes one run before, because the first one takes longer.
long countFor(Nanoseconds turn, const Run& run)
{
    auto begin = now(CLOCK_MONOTONIC);
    run();
    if (now(CLOCK_MONOTONIC) - begin > turn) {
        return 1;
    }
    begin = now(CLOCK_MONOTONIC);
    long done = 0;
    do {
        run();
        ++done;
    } while (now(CLOCK_MONOTONIC) - begin < turn / 4);
    return std::max<long>(1, done * turn.count() / (now(CLOCK_MONOTONIC) - begin).count());
}

void takeTurn(const Entry& entry)
{
    const auto before = allocations();
    const auto wall = now(CLOCK_MONOTONIC);
    const auto cpu = now(CLOCK_PROCESS_CPUTIME_ID);
    repeat(entry.run, entry.count);
    const auto cpuSpent = now(CLOCK_PROCESS_CPUTIME_ID) - cpu;
    const auto wallSpent = now(CLOCK_MONOTONIC) - wall;
    const auto each = [&entry](auto sum) { return static_cast<double>(sum) / static_cast<double>(entry.count); };
    std::cout << entry.name << ' ' << each(cpuSpent.count()) << ' ' << each(wallSpent.count()) << ' '
              << each(allocations() - before) << std::endl;
}

} // namespace

int takeTurns(const Candidates& candidates, int argc, char** argv)
{
    const std::vector<std::string> words(argv + 1, argv + argc);
    try {
        if (words.at(0) == "runs") {
            repeat(candidates.at(words.at(2))(), std::stol(words.at(1)));
            return EXIT_SUCCESS;
        }
        const auto turn = std::chrono::milliseconds(std::stol(words.at(1)));
        std::vector<Entry> entries;
        for (auto name = words.begin() + 2; name != words.end(); ++name) {
            const auto run = candidates.at(*name)();
            entries.push_back({*name, run, countFor(turn, run)});
        }
        for (long turns = std::stol(words.at(0)); turns > 0; --turns) {
            std::for_each(entries.begin(), entries.end(), takeTurn);
            std::reverse(entries.begin(), entries.end()); // the first one may have an advantage
        }
        return EXIT_SUCCESS;
    } catch (const std::logic_error&) {
        std::cerr << "usage: TURNS MILLISECONDS NAME... | runs COUNT NAME, of";
        for (const auto& entry : candidates) {
            std::cerr << ' ' << entry.first;
        }
        std::cerr << std::endl;
        return 2;
    }
}

} // namespace benchmarks
