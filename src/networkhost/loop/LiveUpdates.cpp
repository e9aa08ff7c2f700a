// SPDX-License-Identifier: MIT
#include "networkhost/loop/LiveUpdates.h"

#include "networkhost/device/Clock.h"
#include "networkhost/device/Descriptors.h"
#include "networkhost/loop/ChangeQueue.h"
#include "networkmanager/Refresher.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <optional>
#include <system_error>

#include <sys/timerfd.h>

namespace networkhost {

using std::chrono::milliseconds;

namespace {

// The time until the next pass.
constexpr milliseconds kQuiet(20);    // after the last hint
constexpr milliseconds kLongest(250); // at most, after the first hint
constexpr milliseconds kSlow(30000);  // without hints

/// Throws for a device without hints, because nothing else could wake the host.
std::unique_ptr<IHints> openHints(IDevice& device)
{
    auto hints = device.openHints();
    if (!hints) {
        throw std::system_error(ENOTSUP, std::generic_category(), "the device has no hints");
    }
    return hints;
}

} // namespace

struct [[gnu::visibility("hidden")]] LiveUpdates::Parts
{
    Parts(IDevice & ofDevice, HostSignals & host, std::map<std::string, networkmanager::EthInterface> & interfaces)
        : device(ofDevice), refresher(host, interfaces, ofDevice.system()), hints(openHints(ofDevice)),
          timer(ownedOrThrow("timerfd_create", ::timerfd_create(CLOCK_BOOTTIME, TFD_CLOEXEC | TFD_NONBLOCK))),
          all(openEpoll())
    {
        for (const int fd : {hints->fd(), timer.get(), changes.fd()}) {
            addTo(all.get(), fd);
        }
    }

    void setDue(milliseconds time)
    {
        due = time;
        setTimer(time);
    }

    void setTimer(milliseconds time)
    {
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
        const std::chrono::nanoseconds rest = time - seconds;
        ::itimerspec setting = {};
        setting.it_value.tv_sec = static_cast<std::time_t>(seconds.count());
        setting.it_value.tv_nsec = static_cast<long>(rest.count());
        ::timerfd_settime(timer.get(), TFD_TIMER_ABSTIME, &setting, nullptr);
        wakeUp = time;
    }

    IDevice& device;
    networkmanager::Refresher refresher;
    std::unique_ptr<IHints> hints;
    velbase2::system::FileDescriptor timer;
    ChangeQueue changes;
    velbase2::system::FileDescriptor all;  // epoll
    std::optional<milliseconds> firstHint; // the first hint since the last pass
    milliseconds due{};                    // the next pass, on the clock of timeSinceBoot()
    milliseconds wakeUp{};                 // the time at which the timer expires
};

LiveUpdates::LiveUpdates(IDevice& device, HostSignals& host,
                         std::map<std::string, networkmanager::EthInterface>& interfaces)
    : parts_(std::make_unique<Parts>(device, host, interfaces))
{
    parts_->setDue(milliseconds(1)); // a time in the past makes the first pass due at once
}

LiveUpdates::~LiveUpdates() = default;

int LiveUpdates::fd() const
{
    return parts_->all.get();
}

bool LiveUpdates::dispatch()
{
    auto& parts = *parts_;
    const bool isHinted = parts.hints->take(milliseconds(0));
    const auto present = timeSinceBoot();
    if (isHinted) {
        parts.firstHint = parts.firstHint.value_or(present);
        parts.due = std::min(present + kQuiet, *parts.firstHint + kLongest);
    }
    const bool hasOutcomes = parts.changes.take(); // before the pass: callbacks find their change in the cells
    const bool isDue = parts.due <= present || hasOutcomes;
    if (isDue) {
        parts.firstHint.reset();
        parts.setDue(present + kLongest); // for the case that a slot throws
        parts.hints->rearm();
        parts.refresher.refresh();
        parts.setDue(timeSinceBoot() + kSlow);
    } else if (parts.due < parts.wakeUp || parts.wakeUp <= present) {
        parts.setTimer(parts.due); // a later time is set only when the timer has expired
    }
    parts.changes.handOver();
    return isDue;
}

void LiveUpdates::run(std::function<std::function<void()>(IDevice&)> change)
{
    parts_->changes.add([&device = parts_->device, change = std::move(change)] { return change(device); });
}

} // namespace networkhost
