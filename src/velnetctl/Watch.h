// SPDX-License-Identifier: MIT
#pragma once

#include "Session.h"

namespace velnetctl {

/// Shows the device on the terminal until q, Ctrl-C, a signal, or the end of the terminal. False without a terminal on
/// which it can draw; the errors say why. Throws std::system_error when no descriptors are left.
bool watch(Session& session);

} // namespace velnetctl
