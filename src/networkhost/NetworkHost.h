// SPDX-License-Identifier: MIT
#pragma once

/// What most hosts need of libVelNetworkHost, in one header: read, plan, apply, try, wait, and live updates.
#include "change/Apply.h"
#include "change/RollBack.h"
#include "change/Trial.h"
#include "device/RealDevice.h"
#include "loop/LackWatch.h"
#include "loop/LiveUpdates.h"
#include "plan/Diff.h"
#include "plan/Plan.h"
#include "plan/PlanText.h"
#include "plan/Requests.h"
#include "plan/Settings.h"
#include "state/Cells.h"
#include "state/Configuration.h"
#include "state/LiveState.h"
#include "state/Missing.h"
#include "state/Snapshot.h"
#include "state/Text.h"
#include "state/TrialState.h"
#include "text/Checks.h"
#include "text/NetworkAddress.h"
