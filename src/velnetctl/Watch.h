// SPDX-License-Identifier: MIT
#pragma once

#include "Session.h"

namespace velnetctl {

/// Keeps a picture of the device on the terminal until q, Ctrl-C, a signal, or the end of the terminal. False, with the
/// reason on the errors, where there is no terminal that it could draw on. Throws std::system_error when there are no
/// descriptors to be had.
bool watch(Session& session);

} // namespace velnetctl
