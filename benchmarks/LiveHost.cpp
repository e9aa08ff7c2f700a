// SPDX-License-Identifier: MIT
// A host with live updates, for measurements. For each line on the standard input it prints what the dispatches since
// the line before have cost: their number, the passes, the longest in milliseconds, the CPU time in milliseconds, and
// the wake-ups.
#include <algorithm>
#include <array>
#include <chrono>
#include <ctime>
#include <iostream>

#include <networkhost/NetworkHost.h>
#include <networkmanager/NetworkManager.h>
#include <poll.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

using Manager = networkmanager::detail::NetworkManager<networkmanager::NetworkManagerData>;
using Milliseconds = std::chrono::duration<double, std::milli>;

double cpuTime()
{
    return static_cast<double>(std::clock()) * 1000 / CLOCKS_PER_SEC;
}

long wakeUps()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_nvcsw;
}

struct Figures
{
    int dispatches = 0;
    int passes = 0;
    Milliseconds longest{0};
    double cpu = cpuTime();
    long wakeUps = ::wakeUps();
};

} // namespace

int main()
{
    networkhost::RealDevice device;
    Manager manager;
    networkhost::LiveUpdates updates(device, manager);
    Figures figures;
    std::array<pollfd, 2> watched{{{STDIN_FILENO, POLLIN, 0}, {updates.fd(), POLLIN, 0}}};
    while (::poll(watched.data(), watched.size(), -1) > 0) {
        if (watched[1].revents != 0) {
            const auto begin = std::chrono::steady_clock::now();
            figures.passes += updates.dispatch() ? 1 : 0;
            figures.longest = std::max<Milliseconds>(figures.longest, std::chrono::steady_clock::now() - begin);
            ++figures.dispatches;
        }
        if (watched[0].revents != 0) {
            std::array<char, 64> line{};
            if (::read(STDIN_FILENO, line.data(), line.size()) <= 0) {
                break;
            }
            std::cout << figures.dispatches << ' ' << figures.passes << ' ' << figures.longest.count() << ' '
                      << cpuTime() - figures.cpu << ' ' << wakeUps() - figures.wakeUps << std::endl;
            figures = {};
        }
    }
}
