// SPDX-License-Identifier: MIT
#pragma once

#include <boost/signals2/signal.hpp>

namespace velbase2::system::signals {

/// Marks every signal type.
class SignalBase
{};

/// A signal that passes a const T&. Connect and disconnect with the Boost.Signals2 interface, from any thread.
template <class T>
class signal : public boost::signals2::signal<void(const T&)>, private SignalBase
{
public:
    signal() = default;
    ~signal() override = default;
};

} // namespace velbase2::system::signals
