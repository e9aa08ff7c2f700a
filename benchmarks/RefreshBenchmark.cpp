// SPDX-License-Identifier: MIT
// One pass over one interface, the loopback, beside the system calls that it cannot do without.
#include "networkmanager/Refresher.h"

#include <array>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <ifaddrs.h>
#include <unistd.h>

namespace {

void refreshPass(benchmark::State& state)
{
    const auto system = networkmanager::SystemIF_Factory();
    HostSignals host;
    std::map<std::string, networkmanager::EthInterface> interfaces;
    interfaces["lo"].name = "lo";
    interfaces["lo"].networkFile = "01_local.network";
    networkmanager::Refresher refresher(host, interfaces, *system);
    for (auto _ : state) {
        refresher.refresh();
    }
}
BENCHMARK(refreshPass);

void readWhole(const char* path)
{
    const int file = ::open(path, O_RDONLY | O_CLOEXEC);
    std::array<char, 4096> buffer;
    while (file >= 0 && ::read(file, buffer.data(), buffer.size()) > 0) {
    }
    ::close(file);
}

void systemCallsOfAPass(benchmark::State& state)
{
    for (auto _ : state) {
        for (const char* path :
             {"/sys/class/net/lo/address", "/etc/systemd/network/01_local.network", "/sys/class/net/lo/operstate",
              "/sys/class/net/lo/duplex", "/proc/net/route", "/etc/hostname"}) {
            readWhole(path);
        }
        ifaddrs* list = nullptr;
        benchmark::DoNotOptimize(::getifaddrs(&list));
        ::freeifaddrs(list);
    }
}
BENCHMARK(systemCallsOfAPass);

} // namespace
