// SPDX-License-Identifier: MIT
#include "networkhost/loop/ChangeQueue.h"

#include "base/LogLine.h"
#include "networkhost/device/Descriptors.h"
#include "networkhost/state/Wait.h"

#include <algorithm>
#include <csignal>
#include <exception>
#include <iterator>
#include <utility>

#include <sys/eventfd.h>

namespace networkhost {

using velbase2::system::log::kNotable;
using velbase2::system::log::detail::logLine;

namespace {

/// While an object lives, new threads start with all signals blocked. The host's own threads handle the signals.
class BlockedSignals
{
public:
    BlockedSignals()
    {
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    BlockedSignals(const BlockedSignals&) = delete;
    BlockedSignals& operator=(const BlockedSignals&) = delete;
    ~BlockedSignals() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

private:
    sigset_t before_{};
};

ChangeQueue::HandOver outcomeOf(const ChangeQueue::Change& change)
{
    try {
        return change();
    } catch (...) {
        return [error = std::current_exception()] { std::rethrow_exception(error); };
    }
}

} // namespace

/// Lets the next change begin while this thread's change waits for the device.
class ChangeQueue::Waiting : public IWaiting
{
public:
    explicit Waiting(ChangeQueue& queue) : queue_(queue) { setWaiting(this); }
    Waiting(const Waiting&) = delete;
    Waiting& operator=(const Waiting&) = delete;
    ~Waiting() override { setWaiting(nullptr); }

    void begin() override
    {
        const std::lock_guard guard(queue_.lock_);
        --queue_.working_;
        queue_.wakeUp_.notify_one();
        try {
            queue_.startThread();
        } catch (const std::exception&) { // NOLINT(bugprone-empty-catch): without a thread, the next change has to wait
        }
    }
    void end() override
    {
        const std::lock_guard guard(queue_.lock_);
        ++queue_.working_;
    }
    bool isBrokenOff() override
    {
        const std::lock_guard guard(queue_.lock_);
        return queue_.isEnding_;
    }

private:
    ChangeQueue& queue_;
};

ChangeQueue::ChangeQueue() : ready_(ownedOrThrow("eventfd", ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))) {}

ChangeQueue::~ChangeQueue()
{
    {
        const std::lock_guard guard(lock_);
        isEnding_ = true;
        if (!changes_.empty()) {
            logLine(kNotable, "changes that had not begun and are dropped: ", changes_.size());
        }
        changes_.clear();
    }
    wakeUp_.notify_all();
    for (auto& thread : threads_) { // startThread() adds no thread while isEnding_ is set
        thread.join();
    }
    if (take()) {
        logLine(kNotable, "changes whose outcome was not asked for: ", taken_.size());
    }
}

void ChangeQueue::add(Change change)
{
    const std::lock_guard guard(lock_);
    changes_.push_back(std::move(change));
    try {
        startThread();
    } catch (const std::exception&) {
        changes_.pop_back();
        throw;
    }
    wakeUp_.notify_one();
}

/// Starts a thread if a change waits and no thread is free for it. The caller holds the lock.
void ChangeQueue::startThread()
{
    constexpr std::size_t kMost = 8; // further changes wait until one of the threads is free
    if (!changes_.empty() && !isEnding_ && working_ == 0 && idle_ == 0 && threads_.size() < kMost) {
        const BlockedSignals blocked;
        threads_.emplace_back(&ChangeQueue::work, this);
        ++idle_;
    }
}

void ChangeQueue::work()
{
    Waiting waiting(*this);
    std::unique_lock guard(lock_);
    for (;;) {
        wakeUp_.wait(guard, [this] { return isEnding_ || (!changes_.empty() && working_ == 0); });
        if (isEnding_) {
            return;
        }
        auto change = std::move(changes_.front());
        changes_.pop_front();
        --idle_;
        ++working_;
        guard.unlock();
        auto outcome = outcomeOf(change);
        guard.lock();
        ++idle_;
        --working_;
        outcomes_.push_back({std::move(change), std::move(outcome)});
        ::eventfd_write(ready_.get(), 1);
        wakeUp_.notify_one();
    }
}

bool ChangeQueue::take()
{
    const std::lock_guard guard(lock_);
    std::move(outcomes_.begin(), outcomes_.end(), std::back_inserter(taken_));
    outcomes_.clear();
    return !taken_.empty();
}

void ChangeQueue::handOver()
{
    while (!taken_.empty()) {
        const auto outcome = std::move(taken_.front());
        taken_.pop_front();
        outcome.tell();
    }
    const std::lock_guard guard(lock_);
    ::eventfd_t count = 0;
    if (outcomes_.empty()) {
        ::eventfd_read(ready_.get(), &count);
    }
}

} // namespace networkhost
