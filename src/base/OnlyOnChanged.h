// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <mutex>
#include <string>

namespace velbase2::businesslogichelpers {

/// Compares with ==. N has no further meaning.
template <class T, int N>
struct DefaultCompare
{
    bool operator()(const T& left, const T& right) const { return left == right; }
};

/// A text cell that emits on the first update, and then whenever the text changes.
///
/// Any thread may update and read. The slots run with the lock held. Therefore a reader waits for running slots. A slot
/// gets the value as its argument. It must neither update nor get() its own cell, nor wait for another thread that
/// reads the cell.
template <class Signal, class Compare>
class OnlyOnChanged : public Signal
{
public:
    /// Stores and emits `newValue`, unless it is the last emitted value. An exception of a slot passes to the caller.
    void update(const std::string& newValue)
    {
        const std::lock_guard lock(lock_);
        if (first_ == 0 && Compare()(last_, newValue)) {
            return;
        }
        first_ = 0;
        last_ = newValue;
        (*this)(last_);
    }

    /// The last emitted value; empty before the first.
    std::string get() const
    {
        const std::lock_guard lock(lock_);
        return last_;
    }

private:
    std::uint32_t first_ = 1; // 1 until the first emission
    std::string last_;
    mutable std::mutex lock_;
};

} // namespace velbase2::businesslogichelpers
