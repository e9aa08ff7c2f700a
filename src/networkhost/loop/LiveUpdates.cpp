// SPDX-License-Identifier: MIT
#include "networkhost/loop/LiveUpdates.h"

#include "base/Paths.h"
#include "networkhost/device/Clock.h"
#include "networkhost/device/Descriptors.h"
#include "networkhost/loop/ChangeQueue.h"
#include "networkmanager/Refresher.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <ctime>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <sys/timerfd.h>

namespace networkhost {

using std::chrono::milliseconds;

namespace {

// The time until the next pass.
constexpr milliseconds kRetry(250);  // after an exception
constexpr milliseconds kDear(250);   // in a storm, at most, if a pass takes long
constexpr milliseconds kSlow(30000); // without hints
constexpr int kShare = 25;           // in a storm, passes take at most this part of the thread's time

/// Rounded down: short passes take no time.
milliseconds cpuTimeOfThread()
{
    ::timespec time = {};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::duration_cast<milliseconds>(std::chrono::seconds(time.tv_sec) +
                                                    std::chrono::nanoseconds(time.tv_nsec));
}

/// Empty for an interface without counters.
std::optional<Carrier> readCarrier(const networkmanager::ISystemIF& system, const std::string& interfaceName)
{
    const auto read = [&](const char* name, std::uint32_t& count) {
        const auto text = system.readFile(velbase2::system::paths::kInterfaceStates + interfaceName + name);
        const char* const end = text.data() + text.size();
        return std::from_chars(text.data(), end, count).ptr == end && !text.empty();
    };
    Carrier carrier;
    const bool isRead = read("/carrier_down_count", carrier.downs) && read("/carrier_up_count", carrier.ups);
    return isRead ? std::optional(carrier) : std::nullopt;
}

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
    Parts(IDevice & ofDevice, HostSignals & host, std::map<std::string, networkmanager::EthInterface> & ofManager,
          LiveOptions && given)
        : device(ofDevice), interfaces(ofManager), options(std::move(given)),
          refresher(host, ofManager, ofDevice.system()), hints(openHints(ofDevice)),
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

    void setHeard(bool isHeard)
    {
        if (isHeard != areHintsHeard) {
            networkhost::setHeard(all.get(), hints->fd(), isHeard);
            areHintsHeard = isHeard;
        }
    }

    /// Takes the hints, and sets the time of the pass that they ask for.
    void takeHints(milliseconds present)
    {
        const auto taken = hints->takeKinds(milliseconds(0));
        isLinkHinted |= taken.isOfLink;
        isFileHinted |= taken.isOfFile;
        const bool isBurst = present - lastHint < options.quiet;
        if (taken.isAny && !firstHint) {
            firstHint = isBurst ? lastPass : present; // in a burst, the time since the last pass counts
        }
        if (isStorm && !firstHint && due <= present) {
            isStorm = false;
            due = lastPass + kSlow;
        } else if (taken.isAny && !isStorm) {
            const auto quietEnd = present + options.quiet;
            const auto latest = *firstHint + storm();
            const bool isFirst = taken.isSettled && !isBurst;
            isStorm = !isFirst && latest <= quietEnd;
            due = isFirst ? present : std::min(quietEnd, latest);
        }
        if (taken.isSettled) {
            lastHint = present;
        }
        setHeard(!isStorm);
    }

    /// The time between two passes in a storm.
    milliseconds storm() const
    {
        return std::max(options.longest, std::min(costOfPass * kShare, kDear));
    }

    void pass(milliseconds present)
    {
        const auto begin = cpuTimeOfThread();
        lastPass = present;
        firstHint = present;
        setDue(present + kRetry);
        isFileHinted |= present - lastRearm >= kSlow;
        if (isFileHinted) {
            lastRearm = present;
            hints->rearm();
        }
        refresher.refresh();
        if (options.onCarrier && isLinkHinted) {
            tellCarriers();
        }
        if (options.onPass) {
            options.onPass(isFileHinted);
        }
        isLinkHinted = false;
        isFileHinted = false;
        firstHint.reset();
        costOfPass = cpuTimeOfThread() - begin;
        setDue(isStorm ? lastPass + storm() : timeSinceBoot() + kSlow);
    }

    void tellCarriers()
    {
        for (const auto& entry : interfaces) {
            const auto carrier = readCarrier(device.system(), entry.first);
            auto& told = carriers[entry.first];
            if (carrier && carrier != told) {
                told = carrier;
                options.onCarrier(entry.first, *carrier);
            }
        }
    }

    IDevice& device;
    const std::map<std::string, networkmanager::EthInterface>& interfaces;
    const LiveOptions options;
    networkmanager::Refresher refresher;
    std::unique_ptr<IHints> hints;
    velbase2::system::FileDescriptor timer;
    ChangeQueue changes;
    velbase2::system::FileDescriptor all; // epoll
    // Times are on the clock of timeSinceBoot().
    milliseconds lastHint = -kSlow;        // the last one of something settled
    std::optional<milliseconds> firstHint; // the first one that no complete pass has looked at
    milliseconds lastPass = -kSlow;
    milliseconds lastRearm = -kSlow;
    milliseconds costOfPass{}; // CPU time
    milliseconds due{};        // the next pass; in a storm, only if there are hints
    milliseconds wakeUp{};     // the time at which the timer expires
    bool isStorm = false;      // hints have come without a quiet time, and wake nobody until `due`
    bool areHintsHeard = true;
    bool isLinkHinted = true; // since the last complete pass
    bool isFileHinted = true;
    std::map<std::string, std::optional<Carrier>> carriers; // as they were told
};

LiveUpdates::LiveUpdates(IDevice& device, HostSignals& host,
                         std::map<std::string, networkmanager::EthInterface>& interfaces, LiveOptions options)
{
    if (options.quiet.count() < 0 || options.longest.count() < 0) {
        throw std::invalid_argument("a time of LiveOptions is negative");
    }
    parts_ = std::make_unique<Parts>(device, host, interfaces, std::move(options));
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
    const auto present = timeSinceBoot();
    parts.takeHints(present);
    const bool hasOutcomes = parts.changes.take(); // before the pass: callbacks find their change in the cells
    const bool isDue = parts.due <= present || hasOutcomes;
    if (isDue) {
        parts.pass(present);
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
