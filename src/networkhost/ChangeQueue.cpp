// SPDX-License-Identifier: MIT
#include "networkhost/ChangeQueue.h"

#include "base/LogLine.h"
#include "networkhost/Descriptors.h"

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

/// As long as it lives, threads are started with all signals blocked: they belong to the host's own threads.
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

ChangeQueue::ChangeQueue() : ready_(orThrow("eventfd", ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))) {}

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
    wakeUp_.notify_one();
    if (thread_.joinable()) {
        thread_.join();
    }
    if (take()) {
        logLine(kNotable, "changes whose outcome was not asked for: ", taken_.size());
    }
}

void ChangeQueue::add(Change change)
{
    if (!thread_.joinable()) {
        const BlockedSignals blocked;
        thread_ = std::thread(&ChangeQueue::work, this);
    }
    const std::lock_guard guard(lock_);
    changes_.push_back(std::move(change));
    wakeUp_.notify_one();
}

void ChangeQueue::work()
{
    std::unique_lock guard(lock_);
    for (;;) {
        wakeUp_.wait(guard, [this] { return isEnding_ || !changes_.empty(); });
        if (isEnding_) {
            return;
        }
        auto change = std::move(changes_.front());
        changes_.pop_front();
        guard.unlock();
        auto outcome = outcomeOf(change);
        guard.lock();
        outcomes_.push_back({std::move(change), std::move(outcome)});
        ::eventfd_write(ready_.get(), 1);
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
