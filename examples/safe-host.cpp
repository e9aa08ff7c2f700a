// SPDX-License-Identifier: MIT
// A host whose clients change the settings of the device over a Unix socket. A wrong change cannot lock them out,
// because each change is a trial. Each connection sends one line and gets one answer:
//
//   plan INTERFACE dhcp|ADDRESS/LENGTH [GATEWAY]            shows the files and commands of the change
//   try SECONDS INTERFACE dhcp|ADDRESS/LENGTH [GATEWAY]     makes the change, and undoes it unless confirmed in time
//   confirm, rollback, pending                              confirms, ends or shows the trial
//
// Usage: safe-host SOCKET [--simulated]
#include <cerrno>
#include <cstring>
#include <iostream>
#include <memory>
#include <sstream>

#include <networkhost/NetworkHost.h>
#include <networksimulation/Device.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

/// The words are for example "remote 10.0.0.5/24 10.0.0.1". For wrong words, the plan is refused with a reason.
networkhost::Plan planOf(networkhost::IDevice& device, std::istream& words)
{
    std::string interfaceName;
    std::string address;
    std::string gateway;
    words >> interfaceName >> address >> gateway;
    networkhost::Plan plan;
    if (auto settings = networkhost::parseIpSettings(address, plan.refusal)) {
        settings->gateway = gateway;
        plan = networkhost::planIp(device, interfaceName, *settings);
    }
    return plan;
}

std::string answer(networkhost::IDevice& device, const std::string& request)
{
    std::istringstream words(request);
    std::string verb;
    words >> verb;
    if (verb == "plan") {
        return toText(planOf(device, words));
    }
    if (verb == "try") {
        unsigned int seconds = 0;
        if (!(words >> seconds)) {
            return "refused: try takes a number of seconds\n";
        }
        networkhost::TrialOptions options;
        options.time = std::chrono::seconds(seconds);
        return toText(tryOut(device, planOf(device, words), options));
    }
    if (verb == "confirm") {
        return toText(networkhost::confirmTrial(device));
    }
    if (verb == "rollback") {
        return toText(networkhost::rollBack(device, "a client of the host asked for it"));
    }
    return verb == "pending" ? trialState(device).text() + '\n' : "refused: unknown request\n";
}

/// The first line from the client, at most 4 KiB.
std::string readLine(int client)
{
    std::string line;
    char character = 0;
    while (line.size() < 4096 && ::read(client, &character, 1) == 1 && character != '\n') {
        line += character;
    }
    return line;
}

/// Only the host's own user may connect. Returns -1 and sets errno on failure.
int listenAt(const std::string& path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        errno = ENAMETOOLONG;
        return -1;
    }
    std::memcpy(address.sun_path, path.c_str(), path.size());
    const int listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ::unlink(path.c_str()); // an earlier run may have left it
    ::umask(0177);
    const bool isListening = listener >= 0 &&
                             ::bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
                             ::listen(listener, 8) == 0;
    return isListening ? listener : -1;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::cerr << "usage: safe-host SOCKET [--simulated]\n";
        return 2;
    }
    const bool isSimulated = argc > 2 && std::string(argv[2]) == "--simulated";
    const auto device = isSimulated ? std::unique_ptr<networkhost::IDevice>(new networksimulation::Device)
                                    : std::make_unique<networkhost::RealDevice>();
    const int listener = listenAt(argv[1]);
    if (listener < 0) {
        std::cerr << "safe-host: cannot listen at " << argv[1] << ": " << std::strerror(errno) << '\n';
        return 1;
    }
    for (;;) {
        const int client = ::accept(listener, nullptr, nullptr);
        const timeval patience = {5, 0}; // limits the wait for a client that sends no line
        ::setsockopt(client, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        const auto text = answer(*device, readLine(client));
        ::send(client, text.data(), text.size(), MSG_NOSIGNAL);
        ::close(client);
    }
}
