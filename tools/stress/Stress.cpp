// SPDX-License-Identifier: MIT
// For the thread sanitizer: does everything at once that the library allows. One thread refreshes a manager without a
// pause. Other threads run set operations, connect and disconnect slots, throw in slots, and read. LiveUpdates runs
// over the simulated device at the same time. Prints the number of each operation. The exit code is 1 when one of them
// never happened, or when a value was wrong.
// Usage: stress [SECONDS]. The default is 60.
#include "base/IpHelper.h"
#include "networkhost/change/Apply.h"
#include "networkhost/change/Trial.h"
#include "networkhost/loop/LiveUpdates.h"
#include "networkhost/plan/Requests.h"
#include "networkmanager/system/SystemIF.h"
#include "networksimulation/NetworkManagerData.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <iostream>
#include <list>
#include <random>
#include <set>
#include <thread>

#include <poll.h>

namespace {

using velbase2::nsa::common::IpSettings;
using velbase2::system::iphelper::leadingNumber;
namespace status = networkmanager::status;

constexpr auto kRelaxed = std::memory_order_relaxed; // the program's own data must not order its threads

struct Thrown : std::exception
{};

// NOLINTBEGIN(cppcoreguidelines-avoid-non-const-global-variables)
std::atomic<unsigned> faults = 0;
thread_local bool isSettingIp = false;
thread_local std::string statusHere; // the last status that this thread has emitted
// NOLINTEND(cppcoreguidelines-avoid-non-const-global-variables)

void expect(bool holds, const std::string& what)
{
    if (!holds && faults.fetch_add(1, kRelaxed) < 10) {
        std::cerr << "stress: wrong: " + what + '\n';
    }
}

/// The last octet determines all members.
IpSettings settingsOf(int octet)
{
    return {"10.0.0." + std::to_string(octet), "255.0.0." + std::to_string(octet), octet % 3 == 0, ""};
}

/// The number of the pass determines all readings. There is no lock, because it would order the threads.
struct System : networkmanager::SystemIF
{
    IpSettings settings() const { return settingsOf(pass.load(kRelaxed) % 250); }
    std::vector<velbase2::nsa::common::structs::IpAddress> getAddresses(const std::string& /*name*/) const override
    {
        return {{velbase2::nsa::common::enums::IpAddressFamily::IPv4, settings().ip, settings().mask}};
    }
    bool getLink(const std::string& /*name*/) const override { return pass.load(kRelaxed) % 4 < 2; }
    bool getDhcpUsed(const networkmanager::EthParams& /*params*/) const override { return settings().dhcp; }
    std::string getGateway() const override { return settings().ip; }
    std::string readFile(const std::string& /*path*/) const override { return note(), settings().mask; }
    bool writeToConfFile(const std::string& /*path*/, const std::string& /*text*/) override { return note(); }
    bool executeCmd(const std::string& command, std::string& /*output*/, std::string& words) override
    {
        words = "refused\n";
        return note() && command != "route add default gw 10.9.9.9";
    }
    bool note() const
    {
        if (isSettingIp) {
            ++stepsOfSetIp; // needs no lock, because setIp runs one call at a time
        }
        return true;
    }
    std::atomic<int> pass = 0;
    mutable unsigned stepsOfSetIp = 0;
};

/// The cells of a manager. Each has a slot that is always connected and notes its values.
struct Watched
{
    template <class Manager>
    explicit Watched(Manager& manager) : host(manager.getSignals()), interfaces(manager.getInterfaces())
    {
        note();
        for (auto& [name, cell] : cells) {
            cell = {cell.read, cell.read, 0, 0};
        }
        networkhost::connectToEachCell(
            manager, [this](const std::string& source, const char* name, const auto& content) {
                auto& cell = cells.at(source + ' ' + name); // needs no lock: the slots of a cell take turns
                const auto before = std::exchange(cell.emitted, networkhost::toText(content));
                expect(cell.emitted != before, std::string("emitted without a change: ") + name);
                ++cell.emissions;
            });
    }

    /// Runs between two passes, on the thread of the passes.
    void note()
    {
        const auto noteCell = [this](const std::string& name, const std::string& text) {
            cells[name].changes += std::exchange(cells[name].read, text) == text ? 0U : 1U;
        };
        for (auto& entry : interfaces) {
            networkhost::forEachCell(entry.second, [&](const char* name, auto& cell) {
                const auto content = cell.get();
                noteCell(entry.first + ' ' + name, content ? networkhost::toText(*content) : "");
            });
        }
        networkhost::forEachCell(
            host, [&](const char* name, auto& cell) { noteCell(std::string("host ") + name, cell.get()); });
    }

    /// Runs when all threads have ended.
    void check()
    {
        note();
        for (const auto& [name, cell] : cells) {
            const bool isOfPasses = name.find(" routes") == std::string::npos; // set operations assign routes
            expect(cell.read == cell.emitted, "not what was emitted last: " + name);
            expect(!isOfPasses || cell.emissions == cell.changes, "emitted more or less often than changed: " + name);
        }
    }

    struct Cell
    {
        std::string emitted;
        std::string read;
        unsigned emissions = 0;
        unsigned changes = 0;
    };
    HostSignals& host;
    std::map<std::string, networkmanager::EthInterface>& interfaces;
    std::map<std::string, Cell> cells;
};

/// `octet` is 0 to 9. Low values also stand for requests that are refused.
template <class Manager>
bool setSomething(Manager& manager, int kind, const std::string& name, int octet)
{
    static const std::array<std::string, 3> kGateways = {"none", "10.9.9.9", "0.0.0.0"};
    switch (kind) {
    case 0:
        return manager.setIp(name, octet == 0 ? IpSettings() : IpSettings{"10.0.0.1", "255.0.0.0", octet < 3, ""});
    case 1:
        return manager.setGateway(kGateways.at(static_cast<std::size_t>(std::min(octet, 2))));
    case 2:
        return manager.setRoutes(name, std::string(octet == 0 ? "dst=x" : "dst=10.1.0.0/16") + " gw=10.0.0." +
                                           std::to_string(octet));
    case 3:
        return manager.setDnsServer("10.0.0.1", static_cast<unsigned>(octet));
    default:
        return manager.setDnsDomain("example.org");
    }
}

template <class Manager>
void operate(Manager& manager, std::minstd_rand& random)
{
    const auto pick = [&random](int count) { return std::uniform_int_distribution<>(0, count - 1)(random); };
    const int kind = pick(5);
    isSettingIp = kind == 0;
    statusHere.clear();
    const bool isDone = setSomething(manager, kind, pick(2) == 0 ? "local" : "remote", pick(10));
    static const std::set<std::string> kGood = {status::kOk, status::kRoutesUpdated};
    static const std::set<std::string> kBad = {status::kInvalidIpOrMask, status::kNothingToChange,
                                               status::kGatewayFromDhcp, "refused", "Invalid route format: x"};
    const bool hasStatus = kind < 3;
    expect((isDone ? kGood : kBad).count(statusHere) == (hasStatus ? 1 : 0), "the status " + statusHere);
}

void throwAtTimes()
{
    thread_local unsigned calls = 0;
    if (++calls % 50 == 0) {
        throw Thrown();
    }
}

void connectAndDisconnect(Watched& watched)
{
    std::vector<boost::signals2::scoped_connection> slots;
    for (auto& entry : watched.interfaces) {
        networkhost::forEachCell(entry.second, [&slots](const char* /*name*/, auto& cell) {
            slots.emplace_back(cell.connect([&cell](const auto& content) {
                expect(cell.get() == content, "a slot reads another value in its own cell");
                throwAtTimes();
            }));
        });
    }
    for (HostSignals::Signal* const signal :
         {&watched.host.requestStatus, static_cast<HostSignals::Signal*>(&watched.host.gateway)}) {
        slots.emplace_back(signal->connect([](const auto&) { throwAtTimes(); }));
    }
}

void copyAndRead(Watched& watched)
{
    for (const auto& entry : watched.interfaces) {
        const auto copy = entry.second;
        const auto settings = copy.ipSettings.get().value_or(settingsOf(0));
        expect(settings == settingsOf(leadingNumber(settings.ip.substr(7), 0, 0)), "torn settings");
    }
    expect(watched.host.gateway.get().find("10.0.0.") == 0, "a torn gateway");
}

/// Returns whether the change had the expected outcome. While a trial waits for the device, other changes begin and may
/// be refused.
bool change(networkhost::IDevice& device, unsigned number)
{
    const auto address = "10.1.0." + std::to_string(1 + number / 4 % 250);
    switch (number % 4) {
    case 0:
        return tryOut(device, planIp(device, "local", {address, "255.255.255.0", false, ""})).isDone &&
               (number % 8 == 0 ? confirmTrial(device) : rollBack(device, "by turns")).isDone;
    case 1:
        return true;
    default:
        apply(device, planDnsServer(device, address, number % 4));
        return true;
    }
}

/// One turn of a host's loop. `told` has the finished changes.
void dispatch(networkhost::LiveUpdates& updates, networksimulation::Device& device, unsigned& started,
              std::set<unsigned>& told)
{
    if (started % 4 != 0 || told.size() == started) { // one trial at a time
        updates.start([number = started](auto& beside) { return std::pair(number, change(beside, number)); },
                      [&told](const auto& result) {
                          const bool isFirst = told.insert(result.first).second;
                          expect(result.second && isFirst, "change " + std::to_string(result.first));
                          throwAtTimes();
                      });
        device.put("/etc/hostname", std::to_string(++started));
    }
    pollfd ready{updates.fd(), POLLIN, 0};
    ::poll(&ready, 1, 1);
    updates.dispatch();
}

} // namespace

int main(int argc, char** argv)
{
    const int seconds = argc < 2 ? 60 : leadingNumber(argv[1], 0, 0);
    velbase2::system::log::setMinimumLevel(velbase2::system::log::kFileProblem + 1);
    auto owned = std::make_unique<System>();
    auto& system = *owned;
    const networksimulation::NetworkManagerData::Backend backend;
    networksimulation::Device device;
    networkmanager::detail::NetworkManagerImpl manager(backend, std::move(owned));
    networkmanager::Refresher refresher(manager.getSignals(), manager.getInterfaces(), system);
    refresher.refresh();
    Watched watched(manager);
    manager.getSignals().requestStatus.connect([](const std::string& text) { statusHere = text; });
    networksimulation::NetworkManager simulated;
    networkhost::LiveUpdates updates(device, simulated);

    std::atomic<bool> isOver = false;
    std::map<std::string, std::atomic<unsigned long>> counts;
    std::list<std::thread> threads;
    const auto run = [&](const char* what, auto turn) {
        threads.emplace_back([&isOver, &count = counts[what], turn]() mutable {
            for (; !isOver.load(kRelaxed); count.fetch_add(1, kRelaxed)) {
                try {
                    turn();
                } catch (const Thrown&) { // a slot's exception reaches the caller
                }
            }
        });
    };
    run("refreshes", [&] {
        watched.note();
        system.pass.fetch_add(1, kRelaxed);
        refresher.refresh();
    });
    unsigned started = 0;
    std::set<unsigned> told;
    run("dispatches", [&] { dispatch(updates, device, started, told); });
    for (unsigned number = 1; number <= 4; ++number) {
        run("operations", [&manager, random = std::minstd_rand(number)]() mutable { operate(manager, random); });
        run(number % 2 == 0 ? "connects" : "reads",
            [&, number] { (number % 2 == 0 ? connectAndDisconnect : copyAndRead)(watched); });
    }
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    isOver = true;
    for (auto& thread : threads) {
        thread.join();
    }
    watched.note();
    refresher.refresh(); // an exception of a slot may have ended the last pass
    watched.check();
    expect(manager.getInterface("remote").ipSettings.get() == system.settings(),
           "the last settings are not those read");
    while (told.size() < started || simulated.getSignals().hostname.get() != std::to_string(started)) {
        updates.dispatch(); // until all changes are reported and shown
    }
    counts["changes"] = told.size();
    for (const auto& [what, count] : counts) {
        std::cout << what << ": " << count << '\n';
        expect(count > 0, "no " + what);
    }
    std::cout << "wrong: " << faults << '\n';
    return faults == 0 ? 0 : 1;
}
