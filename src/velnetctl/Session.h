// SPDX-License-Identifier: MIT
#pragma once

#include "networkhost/device/IDevice.h"

#include <ostream>
#include <string>

namespace velnetctl {

/// The device on which a run of velnetctl works, and the streams to which it prints.
struct Session
{
    networkhost::IDevice& device;
    std::ostream& output;
    std::ostream& errors;
};

/// Prints each line of the text on the error stream, without control characters.
void warn(Session& session, const std::string& text);
void fail(Session& session, const std::string& text);

/// The lines as warn() and fail() print them.
std::string printableLines(const std::string& text, const std::string& prefix = {});

} // namespace velnetctl
