// SPDX-License-Identifier: MIT
#pragma once

#include "Observer.h"
#include "Session.h"

#include <string>

namespace velnetctl {

/// "2026-05-04T09:08:07.006Z  remote  link        ", at the present time.
std::string headOf(const Change& change);

/// The line of a change, at the present time.
std::string lineOf(const Change& change, bool json);

/// Prints the present values and then every change to the standard output, one line each, until SIGINT or SIGTERM, or
/// until the reader is gone. False when a line could not be written. Throws std::system_error when no descriptors are
/// left.
bool monitor(Session& session, bool json);

} // namespace velnetctl
