// SPDX-License-Identifier: MIT
// A host with its own event loop, which is never blocked. It prints the changes of the device, and settings that have
// not been live for 30 s. Clients change settings over a Unix socket (SOCK_SEQPACKET). Each connection sends one packet
// and gets one answer:
//   plan INTERFACE dhcp|ADDRESS/LENGTH [GATEWAY]    shows the change and its objections
//   set INTERFACE dhcp|ADDRESS/LENGTH [GATEWAY]     answers when the daemons are restarted; the values follow
//   try INTERFACE dhcp|ADDRESS/LENGTH [GATEWAY]     answers when it is live; undone unless confirmed within 60 s
//   confirm, rollback                               answers when the trial is over
//   state                                           answers at once, also during a change: the last state, as JSON
// Usage: loop-host SOCKET. SIGHUP prints the state. SIGTERM and SIGINT end the host after the running change.
#include <csignal>
#include <cstdio>
#include <iostream>
#include <sstream>

#include <networkhost/NetworkHost.h>
#include <networkmanager/NetworkManager.h>
#include <sys/epoll.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/timerfd.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

/// Runs on another thread than the loop. It may take long, and must not use the loop's data.
std::string carryOut(networkhost::IDevice& device, const std::string& request)
{
    std::istringstream words(request);
    std::string verb;
    std::string interfaceName;
    std::string address;
    std::string gateway;
    words >> verb >> interfaceName >> address >> gateway;
    if (verb == "confirm") {
        return toText(confirmTrial(device));
    }
    if (verb == "rollback") {
        return toText(rollBack(device, "a client asked for it"));
    }
    if (verb != "plan" && verb != "set" && verb != "try") {
        return "unknown request\n";
    }
    std::string fault;
    auto settings = networkhost::parseIpSettings(address, fault);
    if (!settings) {
        return fault + '\n';
    }
    settings->gateway = gateway;
    const auto plan = planIp(device, interfaceName, *settings);
    return verb == "plan" ? toText(plan) : verb == "set" ? toText(apply(device, plan)) : toText(tryOut(device, plan));
}

/// Only the host's own user may connect. Returns -1 and sets errno on failure.
int listenAt(const std::string& path)
{
    sockaddr_un address = {AF_UNIX, {}};
    const bool isPath = !path.empty() && path.copy(address.sun_path, sizeof address.sun_path - 1) == path.size();
    ::unlink(path.c_str()); // an earlier run may have left it
    const int listener = ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    ::fchmod(listener, 0600); // bind() gives the file this mode
    const auto* const place = reinterpret_cast<const sockaddr*>(&address);
    return isPath && ::bind(listener, place, sizeof address) == 0 && ::listen(listener, 8) == 0 ? listener : -1;
}

/// The descriptor becomes readable at the signal. The signal is blocked in this thread and in those that it starts.
int openSignal(int signal)
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, signal);
    ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
    return ::signalfd(-1, &set, SFD_CLOEXEC);
}

/// Reads a request. A packet that is too long for a request gives an empty text.
std::string take(int fd)
{
    std::string text(256, '\0');
    const auto size = ::read(fd, text.data(), text.size());
    return size < 0 || size == 256 ? "" : text.substr(0, static_cast<std::size_t>(size));
}

/// Does not wait for the client. The answer fits into the socket's buffer, unless the client has gone.
void answer(int client, const std::string& text)
{
    ::send(client, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    ::close(client);
}

} // namespace

int main(int argc, char** argv)
{
    const int listener = argc == 2 ? listenAt(argv[1]) : -1;
    const int timer = ::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC);
    const itimerspec eachSecond = {{1, 0}, {1, 0}};
    if (listener < 0 || ::timerfd_settime(timer, 0, &eachSecond, nullptr) != 0) {
        std::perror("usage: loop-host SOCKET");
        return 2;
    }
    const int hangUp = openSignal(SIGHUP); // before a thread starts, because threads inherit the blocked signals
    const int interrupt = openSignal(SIGINT);
    const int terminate = openSignal(SIGTERM);

    int underWay = 0; // changes that have not ended
    networkhost::RealDevice device;
    networkmanager::detail::NetworkManager<networkmanager::NetworkManagerData>
        manager; // not started: the loop refreshes
    networkhost::connectToEachCell(manager, [](const std::string& source, const char* name, const auto& content) {
        std::cout << source << ' ' << name << ": " << networkhost::toText(content) << std::endl; // to the journal
    });
    networkhost::LackWatch lacks(device, std::chrono::seconds(30), [](const std::string& lacking) {
        std::cout << (lacking.empty() ? "all is live" : "the device lacks " + lacking) << std::endl;
    });
    std::string state; // as JSON, in one line
    networkhost::LiveOptions options;
    options.onPass = [&](bool /*haveFilesChanged*/) {
        const auto snapshot = networkhost::readSnapshot(device, manager);
        state = toJson(snapshot, {}, -1) + '\n';
        lacks.look(missing(snapshot.configured, snapshot.live));
    };
    networkhost::LiveUpdates updates(device, manager, options); // last: destroyed before the objects that it uses
    const int epoll = ::epoll_create1(EPOLL_CLOEXEC);
    const auto watch = [epoll](int fd, std::uint32_t events) {
        epoll_event event = {events, {}};
        event.data.fd = fd;
        ::epoll_ctl(epoll, EPOLL_CTL_ADD, fd, &event);
    };
    for (const int fd : {listener, timer, hangUp, interrupt, terminate, updates.fd()}) {
        watch(fd, EPOLLIN);
    }
    for (epoll_event event = {};;) {
        const int fd = ::epoll_wait(epoll, &event, 1, lacks.timeout()) == 1 ? event.data.fd : -1; // -1: lacks may tell
        if (fd == interrupt || fd == terminate) {
            return 0;
        }
        if (fd == updates.fd()) {
            updates.dispatch(); // runs slots, onPass, and the callbacks of finished changes
        } else if (fd < 0) {
            lacks.look();
        } else if (fd == listener) {
            watch(::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC), EPOLLIN | EPOLLONESHOT);
        } else if (const auto request = take(fd); fd == timer) {
            std::cout << (underWay > 0 ? "changes under way: " + std::to_string(underWay) + '\n' : "") << std::flush;
        } else if (fd == hangUp) {
            std::cout << state << std::flush;
        } else if (request == "state") {
            answer(fd, state);
        } else {
            ++underWay;
            updates.start([request](networkhost::IDevice& beside) { return carryOut(beside, request); },
                          [&underWay, fd](const std::string& outcome) {
                              --underWay;
                              answer(fd, outcome);
                          });
        }
    }
}
