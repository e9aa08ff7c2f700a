// SPDX-License-Identifier: MIT
#pragma once

#include "Change.h"
#include "Json.h"
#include "Session.h"
#include "networkhost/change/Trial.h"
#include "networkhost/plan/Plan.h"

#include <string>

/// The commands about a pending trial.
namespace velnetctl {

/// Tries the plan, tells what it waits for, and in a terminal asks whether to keep the setting; true when it was kept.
/// Elsewhere it says how to confirm, and returns true when the setting is live.
bool tryPlan(Session& session, const networkhost::Plan& plan, const ChangeOptions& options);

bool confirm(Session& session);
bool rollBack(Session& session);

/// For programs: "counting" while a trial is live.
const char* nameOf(networkhost::TrialState::Kind kind);

/// The trial for programs.
Json toJson(const networkhost::TrialState& state);

/// True when a trial is pending.
bool printPending(Session& session, bool json);

/// Guards the pending trial until it is over; see networkhost/Guard.h. Detached: a process of a session of its own does
/// it, and this one is through.
enum class GuardKind { Foreground, Detached, Boot };
bool guard(Session& session, GuardKind kind);

} // namespace velnetctl
