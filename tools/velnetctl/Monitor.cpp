// SPDX-License-Identifier: MIT
#include "Monitor.h"

#include "Json.h"
#include "Text.h"
#include "networkmanager/NetworkManager.h"

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <iomanip>
#include <mutex>

namespace velnetctl {

using networkmanager::EthInterface;
using velbase2::nsa::common::IpSettings;
using velbase2::nsa::common::structs::IpAddress;

namespace {

/// The present time as in 2026-05-04T09:08:07.006Z.
std::string timeStamp()
{
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const auto sinceEpoch = std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch());
    std::tm utc{};
    ::gmtime_r(&seconds, &utc);
    std::array<char, sizeof "2026-05-04T09:08:07"> text{};
    static_cast<void>(std::strftime(text.data(), text.size(), "%FT%T", &utc));
    return text.data() + ('.' + std::to_string(1000 + sinceEpoch.count() % 1000).substr(1)) + 'Z';
}

std::string toText(bool isUp)
{
    return isUp ? "up" : "down";
}
std::string toText(const std::string& text)
{
    return orNone(text);
}
std::string toText(const IpSettings& settings)
{
    return settingsText(settings);
}
std::string toText(const std::vector<IpAddress>& addresses)
{
    std::string text;
    for (const auto& address : addresses) {
        text += (text.empty() ? "" : ", ") + addressText(address);
    }
    return orNone(text);
}

/// Prints one line a change. Called on the refresh thread.
class Printer
{
public:
    Printer(std::ostream& output, bool json) : output_(output), json_(json) {}

    template <class X>
    void print(const std::string& source, const char* value, const X& content)
    {
        const std::lock_guard lock(lock_);
        if (json_) {
            output_ << dump({{"time", timeStamp()}, {"source", source}, {"name", value}, {"value", toJson(content)}});
        } else {
            output_ << timeStamp() << "  " << std::left << std::setw(8) << source << std::setw(12) << value
                    << toText(content);
        }
        output_ << '\n' << std::flush;
    }

    /// No line is half written from here on.
    [[noreturn]] void exit()
    {
        lock_.lock();
        std::_Exit(output_ ? EXIT_SUCCESS : EXIT_FAILURE);
    }

private:
    std::ostream& output_;
    bool json_;
    std::mutex lock_;
};

template <class X>
void printChanges(EthInterface::Cell<X>& cell, Printer& printer, const std::string& source, const char* value)
{
    cell.connect([&printer, source, value](const std::optional<X>& content) {
        if (content) {
            printer.print(source, value, *content);
        }
    });
}

void printChanges(HostSignals::Cell& cell, Printer& printer, const char* value)
{
    cell.connect([&printer, value](const std::string& content) { printer.print("host", value, content); });
}

} // namespace

void monitor(std::ostream& output, bool json)
{
    // Blocked before the manager starts its thread, so that they wait for sigwait below.
    sigset_t endSignals;
    sigemptyset(&endSignals);
    sigaddset(&endSignals, SIGINT);
    sigaddset(&endSignals, SIGTERM);
    ::pthread_sigmask(SIG_BLOCK, &endSignals, nullptr);

    Printer printer(output, json);
    networkmanager::detail::NetworkManager<networkmanager::NetworkManagerData> manager;
    for (auto& [name, iface] : manager.getInterfaces()) {
        printChanges(iface.macAddress, printer, name, "mac");
        printChanges(iface.addresses, printer, name, "addresses");
        printChanges(iface.ipSettings, printer, name, "live");
        printChanges(iface.link, printer, name, "link");
        printChanges(iface.speed, printer, name, "speed");
        printChanges(iface.duplex, printer, name, "duplex");
        printChanges(iface.routes, printer, name, "routes");
    }
    printChanges(manager.getSignals().gateway, printer, "gateway");
    printChanges(manager.getSignals().hostname, printer, "hostname");
    manager.start();

    int received = 0;
    sigwait(&endSignals, &received);
    // Without stop(), which waits for the manager's thread to wake up: nothing of this process is worth 2 seconds.
    printer.exit();
}

} // namespace velnetctl
