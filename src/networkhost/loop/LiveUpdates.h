// SPDX-License-Identifier: MIT
#pragma once

#include "../../networkmanager/EthInterface.h"
#include "../../networkmanager/HostSignals.h"
#include "../device/IDevice.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>

namespace networkhost {

/// The kernel's counters: how often the interface has lost and got its carrier. They restart when the interface is
/// created again.
struct Carrier
{
    std::uint32_t downs = 0;
    std::uint32_t ups = 0;
};

inline bool operator==(const Carrier& left, const Carrier& right)
{
    return left.downs == right.downs && left.ups == right.ups;
}
inline bool operator!=(const Carrier& left, const Carrier& right)
{
    return !(left == right);
}

struct LiveOptions
{
    // A pass follows the first event at once. The events that follow closely are taken together. Their pass comes
    std::chrono::milliseconds quiet{20};   // after this time without a further event,
    std::chrono::milliseconds longest{50}; // or this time after the last pass; up to 250 ms if a pass takes long

    /// Called for each interface in the first pass, and after that in each pass that finds other counters. A link that
    /// went down and came back between two passes changes only its counters, and not its cell.
    std::function<void(const std::string& interfaceName, const Carrier& carrier)> onCarrier;

    /// Called at the end of each pass, when all cells are refreshed. With haveFilesChanged, a file of the configuration
    /// may have changed since the pass before.
    std::function<void(bool haveFilesChanged)> onPass;
};

/// Refreshes the cells of a manager that is not started when the kernel or a file changes: in the host's own event
/// loop, without a thread. It also runs changes on other threads.
///
///     networkhost::LiveUpdates updates(device, manager);
///     pollfd ready{updates.fd(), POLLIN, 0};
///     while (::poll(&ready, 1, -1) > 0) {
///         updates.dispatch(); // the slots of changed cells run here
///     }
///
/// Make all calls on one thread. The slots and the functions of LiveOptions run on it, and may call only start().
class LiveUpdates
{
public:
    /// Device and manager outlive it. Throws std::system_error when there are no descriptors to be had, and
    /// std::invalid_argument for a negative time.
    template <class Manager>
    LiveUpdates(IDevice& device, Manager& manager, LiveOptions options = {})
        : LiveUpdates(device, manager.getSignals(), manager.getInterfaces(), std::move(options))
    {}
    LiveUpdates(IDevice& device, HostSignals& host, std::map<std::string, networkmanager::EthInterface>& interfaces,
                LiveOptions options = {});
    LiveUpdates(const LiveUpdates&) = delete;
    LiveUpdates& operator=(const LiveUpdates&) = delete;

    /// Waits for a change that is writing files or running commands. One that only waits for the device is broken off:
    /// the guard of a trial then rolls it back. Changes that have not begun are dropped; the log says how many. Calls
    /// no `done`.
    ~LiveUpdates();

    /// Readable when dispatch() has something to do: at once at the start; at an event on the device, or later (see
    /// LiveOptions); every 30 s, for what has no event; when a change is done. For poll, epoll, sd-event, GLib or Asio,
    /// level-triggered. It stays the same; do not read or close it.
    int fd() const;

    /// If a pass is due, refreshes the cells, then calls onCarrier and onPass. At last runs the `done` of finished
    /// changes. Waits for nothing. True when the cells were refreshed. An exception of a slot, of a function of
    /// LiveOptions or of a `done` passes to the caller; the rest follows within 250 ms.
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
