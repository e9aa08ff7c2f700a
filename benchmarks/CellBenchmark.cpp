// SPDX-License-Identifier: MIT
// A reading that has not changed: the common case of every cell in every pass.
#include "networkmanager/EthInterface.h"

#include <benchmark/benchmark.h>

namespace {

const std::string kReading = "02:00:c0:a8:0a:01";

void assignUnchanged(benchmark::State& state)
{
    networkmanager::EthInterface::Cell<std::string> cell;
    cell.assign_and_signal(kReading);
    for (auto _ : state) {
        cell.assign_and_signal(kReading);
    }
}
BENCHMARK(assignUnchanged);

/// The floor: two locks and a comparison.
void lockTwiceAndCompare(benchmark::State& state)
{
    std::mutex assignment;
    std::mutex access;
    const std::optional<std::string> held = kReading;
    for (auto _ : state) {
        const std::lock_guard outer(assignment);
        const std::lock_guard inner(access);
        benchmark::DoNotOptimize(held && *held == kReading);
    }
}
BENCHMARK(lockTwiceAndCompare);

} // namespace
