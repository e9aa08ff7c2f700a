// SPDX-License-Identifier: MIT
#pragma once

#include "../../networkmanager/EthInterface.h"
#include "../../networkmanager/HostSignals.h"
#include "../device/IDevice.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>

namespace networkhost {

/// Refreshes the cells of a manager that is not started when the kernel or a file changes: in the host's own event
/// loop, without a thread. It also runs changes on other threads.
///
///     networkhost::LiveUpdates updates(device, manager);
///     pollfd ready{updates.fd(), POLLIN, 0};
///     while (::poll(&ready, 1, -1) > 0) {
///         updates.dispatch(); // the slots of changed cells run here
///     }
///
/// Make all calls on one thread; the slots run on it. A slot may call only start().
class LiveUpdates
{
public:
    /// Both outlive it. Throws std::system_error when there are no descriptors to be had.
    template <class Manager>
    LiveUpdates(IDevice& device, Manager& manager) : LiveUpdates(device, manager.getSignals(), manager.getInterfaces())
    {}
    LiveUpdates(IDevice& device, HostSignals& host, std::map<std::string, networkmanager::EthInterface>& interfaces);
    LiveUpdates(const LiveUpdates&) = delete;
    LiveUpdates& operator=(const LiveUpdates&) = delete;

    /// Waits for a change that is writing files or running commands. One that only waits for the device is broken off:
    /// the guard of a trial then rolls it back. Changes that have not begun are dropped; the log says how many. Calls
    /// no `done`.
    ~LiveUpdates();

    /// Readable when dispatch() has something to do: at once at the start; 20 ms after the last change on the device,
    /// at most 250 ms after the first; every 30 s, for what has no event; when a change is done. For poll, epoll,
    /// sd-event, GLib or Asio, level-triggered. It stays the same; do not read or close it.
    int fd() const;

    /// Refreshes the cells if due, then runs the `done` of finished changes, without waiting. True when the cells were
    /// refreshed. An exception of a slot or of a `done` passes to the caller; the rest follows within 250 ms.
    bool dispatch();

    /// Runs change(device) on another thread, and then done(result) within dispatch(). For calls that take their time:
    /// plans, apply(), tryOut(), waitUntilLive(), confirmTrial(), rollBack(). Changes run in order: each begins when
    /// the one before has ended, or only waits for the device. A trial that waits can therefore be ended by rollBack().
    /// An exception of the change passes to the caller of dispatch(), and its `done` is not called. Both are destroyed
    /// on the loop's thread. Throws std::system_error when no thread can be started.
    template <class Change, class Done>
    void start(Change change, Done done)
    {
        auto both = std::make_shared<std::pair<Change, Done>>(std::move(change), std::move(done));
        run([both](IDevice& device) {
            auto result = both->first(device);
            return std::function<void()>([both, result = std::move(result)] { both->second(result); });
        });
    }

private:
    struct Parts;

    void run(std::function<std::function<void()>(IDevice&)> change);

    std::unique_ptr<Parts> parts_;
};

} // namespace networkhost
