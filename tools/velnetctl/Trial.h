// SPDX-License-Identifier: MIT
#pragma once

#include "Session.h"

#include <chrono>

/// The verbs about a pending trial.
namespace velnetctl {

/// In a terminal, shows the seconds that are left, and keeps the setting on Enter; true when it was kept. Otherwise
/// says how to confirm, and returns.
bool awaitConfirmation(Session& session, std::chrono::seconds time);

bool confirm(Session& session);
bool rollBack(Session& session);

/// True when a trial is pending.
bool printPending(Session& session, bool json);

/// Guards the pending trial until it is over; see networkhost/Guard.h. Detached: a process of a session of its own does
/// it, and this one is through.
enum class GuardKind { Foreground, Detached, Boot };
bool guard(Session& session, GuardKind kind);

} // namespace velnetctl
