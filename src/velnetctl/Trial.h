// SPDX-License-Identifier: MIT
#pragma once

#include "Change.h"
#include "Session.h"
#include "networkhost/change/Trial.h"
#include "networkhost/plan/Plan.h"

#include <string>

/// The commands about a pending trial.
namespace velnetctl {

/// Tries the plan and shows its progress. In a terminal, it asks whether to keep the setting, and returns true when it
/// was kept. Elsewhere, it prints how to confirm, and returns true when the setting is live.
bool tryPlan(Session& session, const networkhost::Plan& plan, const ChangeOptions& options);

bool confirm(Session& session);
bool rollBack(Session& session);

/// True when a trial is pending.
bool printPending(Session& session, bool json);

/// Guards the pending trial until it is over; see networkhost/Guard.h. If detached, another process does it, in a
/// session of its own, and this call returns at once.
enum class GuardKind { Foreground, Detached, Boot };
bool guard(Session& session, GuardKind kind);

} // namespace velnetctl
