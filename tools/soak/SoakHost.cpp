// SPDX-License-Identifier: MIT
// The host that tools/soak/soak watches. It has a started manager, and LiveUpdates with another manager. It takes one
// request per line, and answers with a line before it takes the next one:
//   apply KIND INTERFACE [VALUE]          KIND is ip, gateway, dns, domain or routes. "done" when it is live
//   try SECONDS KIND INTERFACE [VALUE]    "done" when the countdown has begun
//   confirm, rollback                     "done"
//   state                                 the state of the trial in a sentence
//   missing                               the settings that are not live within 30 s, or "nothing"
//   figures                               bytes of the heap in use, refreshes, dispatches, emissions
// Usage: soak_host VELNETCTL. Ends at the end of its input.
#include "base/IpHelper.h"
#include "base/Log.h"
#include "networkhost/change/Apply.h"
#include "networkhost/change/Trial.h"
#include "networkhost/device/RealDevice.h"
#include "networkhost/loop/LiveUpdates.h"
#include "networkhost/plan/Requests.h"
#include "networkhost/state/Cells.h"
#include "networkhost/state/Missing.h"
#include "networkmanager/NetworkManager.h"

#include <array>
#include <atomic>
#include <iostream>
#include <sstream>

#include <malloc.h>
#include <poll.h>
#include <unistd.h>

namespace {

using networkhost::IDevice;
using Manager = networkmanager::detail::NetworkManager<networkmanager::NetworkManagerData>;

constexpr std::chrono::seconds kLimit(30);

std::string missingOf(IDevice& device, const std::optional<networkhost::Configuration>& before = std::nullopt)
{
    const auto lacking = waitUntilLive(device, readConfiguration(device.files()), kLimit, before);
    return lacking.empty() ? "nothing" : lacking;
}

networkhost::Plan planOf(IDevice& device, const std::string& kind, const std::string& name, const std::string& value)
{
    if (kind == "ip") {
        return planIp(device, name, {value == "dhcp" ? "" : value, "255.255.255.0", value == "dhcp", ""});
    }
    return kind == "gateway"  ? planGateway(device, value)
           : kind == "dns"    ? planDnsServer(device, value, 0)
           : kind == "domain" ? planDnsDomain(device, value)
                              : planRoutes(device, name, value);
}

std::string answerTo(const networkhost::Outcome& outcome)
{
    return outcome.isDone ? "done" : "not done: " + outcome.reason;
}

/// Runs on another thread than the loop.
std::string carryOut(IDevice& device, const std::string& request)
{
    std::istringstream words(request);
    std::string verb;
    std::string kind;
    std::string name;
    std::string value;
    networkhost::TrialOptions options;
    if (words >> verb; verb == "try") {
        int seconds = 0;
        words >> seconds;
        options.time = std::chrono::seconds(seconds);
    }
    std::getline(words >> kind >> name >> std::ws, value);
    if (verb == "confirm" || verb == "rollback") {
        return answerTo(verb == "confirm" ? confirmTrial(device) : rollBack(device, "the soak asked for it"));
    }
    if (verb == "missing") {
        return missingOf(device);
    }
    const auto plan = planOf(device, kind, name, value);
    if (verb == "try") {
        return answerTo(tryOut(device, plan, options));
    }
    const auto before = readConfiguration(device.files());
    const auto outcome = apply(device, plan);
    const auto lacking = outcome.isDone ? missingOf(device, before) : "nothing";
    return lacking == "nothing" ? answerTo(outcome) : "not live: " + lacking;
}

} // namespace

int main(int argc, char** argv)
{
    std::atomic<unsigned> refreshes = 0;
    std::atomic<unsigned> emissions = 0;
    velbase2::system::log::setMinimumLevel(velbase2::system::log::kDetail);
    velbase2::system::log::setSink([&refreshes](int /*level*/, std::string_view /*tag*/, std::string_view line) {
        refreshes += line == "refresh done!" ? 1U : 0U;
    });
    networkhost::RealDevice device(argc == 2 ? argv[1] : "velnetctl");
    Manager started;
    Manager dispatched;
    for (auto* const manager : {&started, &dispatched}) {
        networkhost::connectToEachCell(*manager,
                                       [&emissions](const std::string&, const char*, const auto&) { ++emissions; });
    }
    started.start();
    networkhost::LiveUpdates updates(device, dispatched);
    unsigned dispatches = 0;
    const auto answer = [](const std::string& text) { std::cout << text << std::endl; };
    std::array<pollfd, 2> watched{{{STDIN_FILENO, POLLIN, 0}, {updates.fd(), POLLIN, 0}}};
    for (std::string request;;) {
        ::poll(watched.data(), watched.size(), -1);
        if (watched[1].revents != 0) {
            updates.dispatch();
            ++dispatches;
        } else if (!std::getline(std::cin, request)) {
            return 0;
        } else if (request == "figures") {
            answer(std::to_string(::mallinfo2().uordblks) + ' ' + std::to_string(refreshes) + ' ' +
                   std::to_string(dispatches) + ' ' + std::to_string(emissions));
        } else if (request == "state") {
            answer(trialState(device).text());
        } else {
            updates.start([request](IDevice& beside) { return carryOut(beside, request); }, answer);
        }
    }
}
