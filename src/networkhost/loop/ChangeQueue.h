// SPDX-License-Identifier: MIT
#pragma once

#include "../../base/FileDescriptor.h"

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#pragma GCC visibility push(hidden)

namespace networkhost {

/// Runs changes on threads of its own, in the order in which they were added: the next one begins when the one before
/// it has ended, or waits until the device shows what it has changed. Signals are blocked there. One thread at a time
/// uses the queue.
class ChangeQueue
{
public:
    /// Tells the outcome to who asked for the change.
    using HandOver = std::function<void()>;
    using Change = std::function<HandOver()>;

    /// Throws std::system_error when there is no descriptor to be had.
    ChangeQueue();
    ChangeQueue(const ChangeQueue&) = delete;
    ChangeQueue& operator=(const ChangeQueue&) = delete;

    /// Breaks off the waits of changes, and waits for the end of those that run. Those that have not begun are dropped,
    /// and outcomes that were not handed over are lost; the log says how many.
    ~ChangeQueue();

    /// Readable while there are outcomes.
    int fd() const { return ready_.get(); }

    /// Takes the outcomes there are. True for any.
    bool take();

    /// Tells the outcomes that were taken, on this thread. An exception that ended a change, or that a hand-over
    /// throws, passes to the caller; the outcomes behind it stay for the next call, and the descriptor readable.
    void handOver();

    /// Throws std::system_error when there is no thread to be had.
    void add(Change change);

private:
    /// A change ends on the thread that uses the queue, with all that it holds.
    struct Finished
    {
        Change change;
        HandOver tell;
    };

    class Waiting;

    void startThread();
    void work();

    velbase2::system::FileDescriptor ready_;
    std::mutex lock_;
    std::condition_variable wakeUp_;
    std::deque<Change> changes_;
    std::deque<Finished> outcomes_;
    std::deque<Finished> taken_; // of the thread that uses the queue
    bool isEnding_ = false;
    int working_ = 0; // changes that run and do not wait
    int idle_ = 0;    // threads without a change
    std::vector<std::thread> threads_;
};

} // namespace networkhost

#pragma GCC visibility pop
