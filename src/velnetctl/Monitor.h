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

/// Prints what the device shows and then every change, one line each, to the standard output: until SIGINT or SIGTERM,
/// or until nobody reads any more. False when a line could not be written. Throws std::system_error when there are no
/// descriptors to be had.
bool monitor(Session& session, bool json);

} // namespace velnetctl
