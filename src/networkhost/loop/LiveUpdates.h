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

/// Refreshes the cells of a manager, which is not started, when the kernel or a file changes: in the host's own event
/// loop, without a thread. And runs changes beside the loop.
///
/// All calls are for one thread, which runs the slots. From a slot, only start() may be called.
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

    /// Breaks off a change that only waits for the device: a trial goes back by its guard then. Waits for the one that
    /// runs, and drops those that have not begun; the log says how many. No `done` is called.
    ~LiveUpdates();

    /// Readable when there is something to do for dispatch(): at once, when something has changed and then been quiet
    /// for 20 ms, at the latest after 250 ms, every 30 s for what has no event, and when a change is done. For poll,
    /// epoll, sd-event, GLib or Asio, level-triggered. Stays the same; is not to be read or closed.
    int fd() const;

    /// Does what there is to do, the cells before the outcomes of changes; returns without waiting. True when the cells
    /// were refreshed. An exception of a slot or of a `done` passes to the caller; the rest is made up for within 250
    /// ms.
    bool dispatch();

    /// Runs change(device) on another thread, and then, within dispatch(), done(result). It begins when those started
    /// before have ended, or only wait for the device to show what they have changed: rollBack() ends such a trial.
    /// For what takes its time: plans, apply(), tryOut(), waitUntilLive(), confirmTrial(), rollBack(). An exception of
    /// the change passes to the caller of dispatch(), and its `done` is not called. Both are destroyed on the loop's
    /// thread. Throws std::system_error when there is no thread to be had.
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
