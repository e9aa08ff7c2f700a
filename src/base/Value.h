// SPDX-License-Identifier: MIT
#pragma once

#include "Signal.h"

#include <mutex>
#include <optional>
#include <utility>

namespace velbase2::system::signals {

/// The policy of every Value: the first assignment and each change emit. N has no further meaning.
template <int N>
struct AssignOnlyOnChange
{};

/// An observable cell: a signal together with the value it emitted last. T is a std::optional, empty until the first
/// assignment.
///
/// Any thread may read, assign and connect. Slots run on the assigning thread, and a cell makes one emission at a time.
/// A slot may read its cell, but must not assign to it (deadlock). A reader never waits for a slot.
template <class T, class Policy>
class Value : public signal<T>
{
public:
    Value() = default;

    /// Copies the value of `other`, but not its subscribers. A failure to copy ends the process.
    Value(const Value& other) noexcept : signal<T>(), value_(other.get()) {}

    Value& operator=(const Value&) = delete;
    ~Value() override = default;

    /// Stores `newValue` (of T's content type) and emits it, unless the cell holds an equal value already.
    /// An exception of a slot passes to the caller; the value stays assigned.
    template <class U>
    void assign_and_signal(U&& newValue)
    {
        const std::lock_guard assignment(assignmentLock_);
        {
            const std::lock_guard access(valueLock_);
            if (value_ && *value_ == newValue) {
                return;
            }
            value_ = std::forward<U>(newValue);
        }
        // Every writer holds the assignment lock. Therefore the slots can get the stored value without a copy.
        (*this)(value_);
    }

    /// A copy of the present value. Takes the value lock only.
    T get() const
    {
        const std::lock_guard access(valueLock_);
        return value_;
    }

private:
    mutable std::mutex valueLock_; // held while the value is read, compared or written
    std::mutex assignmentLock_;    // held across the emission too; taken before the value lock
    T value_;
};

} // namespace velbase2::system::signals
