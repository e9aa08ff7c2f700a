// SPDX-License-Identifier: MIT
// A command, in a host with little memory and with 512 MiB in use.
#include "base/ExecuteCommand.h"

#include <cstdlib>
#include <vector>

#include <benchmark/benchmark.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

std::vector<char> hostMemory(const benchmark::State& state)
{
    return std::vector<char>(static_cast<std::size_t>(state.range(0)) << 20U, 1);
}

void executeCommand(benchmark::State& state)
{
    const auto memory = hostMemory(state);
    for (auto _ : state) {
        benchmark::DoNotOptimize(velbase2::system::executeCommand("/bin/true"));
    }
}
BENCHMARK(executeCommand)->Arg(1)->Arg(512)->UseRealTime();

/// A peer that captures nothing, and gives a wrong answer in a host that ignores SIGCHLD.
void system(benchmark::State& state)
{
    const auto memory = hostMemory(state);
    for (auto _ : state) {
        benchmark::DoNotOptimize(std::system("/bin/true"));
    }
}
BENCHMARK(system)->Arg(1)->Arg(512)->UseRealTime();

/// A peer that copies the page tables.
void forkAndExecute(benchmark::State& state)
{
    const auto memory = hostMemory(state);
    for (auto _ : state) {
        const pid_t child = ::fork();
        if (child == 0) {
            ::execl("/bin/sh", "sh", "-c", "/bin/true", nullptr);
            std::_Exit(127);
        }
        ::waitpid(child, nullptr, 0);
    }
}
BENCHMARK(forkAndExecute)->Arg(1)->Arg(512)->UseRealTime();

} // namespace
