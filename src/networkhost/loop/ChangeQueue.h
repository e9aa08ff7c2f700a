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

/// Runs changes on its own threads, in the order in which they were added. The next change begins when the one before
/// it has ended or waits for its settings to become live. Signals are blocked on these threads. Only one thread at a
/// time may use the queue.
class ChangeQueue
{
public:
    /// Tells the outcome to the caller of the change.
    using HandOver = std::function<void()>;
    using Change = std::function<HandOver()>;

    /// Throws std::system_error when no descriptor is left.
    ChangeQueue();
    ChangeQueue(const ChangeQueue&) = delete;
    ChangeQueue& operator=(const ChangeQueue&) = delete;

    /// Breaks off the waits of running changes, and waits for their end. Drops the changes that have not begun and the
    /// outcomes that were not handed over. The log says how many.
    ~ChangeQueue();

    /// Readable while there are outcomes.
    int fd() const { return ready_.get(); }

    /// Takes the present outcomes. Returns whether there are any to hand over.
    bool take();

    /// Hands over the taken outcomes on this thread. An exception of a change or of a hand-over passes to the caller.
    /// Then the later outcomes stay for the next call, and the descriptor stays readable.
    void handOver();

    /// Adds a change at the end of the queue. Throws std::system_error when no thread can be started.
    void add(Change change);

private:
    /// The change is kept, because it must be destroyed on the thread that uses the queue.
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
    std::deque<Finished> taken_; // needs no lock: only the thread that uses the queue reads it
    bool isEnding_ = false;
    int working_ = 0; // running changes that do not wait
    int idle_ = 0;    // threads without a change
    std::vector<std::thread> threads_;
};

} // namespace networkhost

#pragma GCC visibility pop
