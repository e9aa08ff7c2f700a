// SPDX-License-Identifier: MIT
// The frequent operations of the library. Each is measured beside its unavoidable part, or beside other code that does
// the same.
#include "Turns.h"
#include "base/ExecuteCommand.h"
#include "networkmanager/EthernetInterfaces.h"
#include "networkmanager/Refresher.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include <fcntl.h>
#include <ifaddrs.h>
#include <sys/wait.h>
#include <unistd.h>

namespace benchmarks {
namespace {

Run refreshPass()
{
    struct Host
    {
        std::unique_ptr<networkmanager::ISystemIF> system = networkmanager::SystemIF_Factory();
        HostSignals signals;
        std::map<std::string, networkmanager::EthInterface> interfaces =
            networkmanager::EthernetInterfaces().interfaces;
        networkmanager::Refresher refresher{signals, interfaces, *system};
    };
    return [host = std::make_shared<Host>()] { host->refresher.refresh(); };
}

std::array<char, 65536> buffer;

void readWhole(const char* path)
{
    const int file = ::open(path, O_RDONLY | O_CLOEXEC);
    while (file >= 0 && ::read(file, buffer.data(), buffer.size()) > 0) {
    }
    ::close(file);
}

void listAddresses()
{
    ifaddrs* list = nullptr;
    keep(::getifaddrs(&list));
    ::freeifaddrs(list);
}

/// The floor of a pass: the same files and calls in the same order, without any use of their results.
Run callsOfAPass()
{
    return [] {
        readWhole("/sys/class/net/local/address");
        listAddresses();
        readWhole("/etc/systemd/network/01_local.network");
        readWhole("/sys/class/net/local/operstate");
        if (std::strncmp(buffer.data(), "up", 2) == 0) {
            readWhole("/sys/class/net/local/speed");
        }
        readWhole("/sys/class/net/local/duplex");
        readWhole("/sys/class/net/remote/address");
        listAddresses();
        readWhole("/etc/systemd/network/02_remote.network");
        readWhole("/sys/class/net/remote/operstate");
        if (std::strncmp(buffer.data(), "up", 2) == 0) {
            readWhole("/sys/class/net/remote/speed");
        }
        readWhole("/sys/class/net/remote/duplex");
        readWhole("/proc/net/route");
        readWhole("/etc/hostname");
    };
}

const std::string kReading = "02:00:c0:a8:0a:01";

/// The common case of every cell in every pass.
Run unchangedCell()
{
    const auto cell = std::make_shared<networkmanager::EthInterface::Cell<std::string>>();
    return [cell] { cell->assign_and_signal(kReading); };
}

Run twoLocksAndAComparison()
{
    struct Held
    {
        std::mutex assignment;
        std::mutex access;
        std::optional<std::string> value = kReading;
    };
    return [held = std::make_shared<Held>()] {
        const std::lock_guard outer(held->assignment);
        const std::lock_guard inner(held->access);
        keep(held->value && *held->value == kReading);
    };
}

/// Uses as much memory as a large host. The cost of a command must not depend on it.
void use512MiB()
{
    static const std::vector<char> memory(std::size_t{512} << 20U, 1);
    keep(memory);
}

Run command()
{
    use512MiB();
    return [] { keep(velbase2::system::executeCommand("/bin/true")); };
}

/// system(3) captures no output, and its result is wrong in a host that ignores SIGCHLD.
Run commandBySystem()
{
    use512MiB();
    return [] { keep(std::system("/bin/true")); };
}

/// fork(2) copies the page tables.
Run commandByFork()
{
    use512MiB();
    return [] {
        const pid_t child = ::fork();
        if (child == 0) {
            ::execl("/bin/sh", "sh", "-c", "/bin/true", nullptr);
            std::_Exit(127);
        }
        ::waitpid(child, nullptr, 0);
    };
}

} // namespace
} // namespace benchmarks

int main(int argc, char** argv)
{
    using namespace benchmarks;
    return takeTurns({{"refresh", refreshPass},
                      {"refresh-calls", callsOfAPass},
                      {"cell", unchangedCell},
                      {"cell-locks", twoLocksAndAComparison},
                      {"command", command},
                      {"command-system", commandBySystem},
                      {"command-fork", commandByFork}},
                     argc, argv);
}
