// SPDX-License-Identifier: MIT
#pragma once

#include "Json.h"
#include "networkhost/Checks.h"
#include "networkhost/Text.h"

#include <mutex>
#include <ostream>
#include <string>

namespace velnetctl {

/// Prints changes, one line each. Thread-safe.
class ChangePrinter
{
public:
    ChangePrinter(std::ostream& output, bool json) : output_(output), json_(json) {}

    template <class X>
    void print(const std::string& source, const char* cell, const X& content)
    {
        printLine(source, cell, networkhost::printable(networkhost::toText(content)), toJson(content));
    }

    /// Whether all lines so far were written. Waits a moment for one that is being written.
    bool isComplete();

private:
    void printLine(const std::string& source, const char* cell, const std::string& text, const Json& value);

    std::ostream& output_;
    bool json_;
    std::timed_mutex lock_;
};

/// Runs a manager and prints every change as it is published, until SIGINT or SIGTERM, or until nobody reads standard
/// output any more. Ends the process then: with code 0 after a signal, with 1 when a line could not be written.
[[noreturn]] void monitor(std::ostream& output, bool json);

} // namespace velnetctl
