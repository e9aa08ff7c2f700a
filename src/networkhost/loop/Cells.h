// SPDX-License-Identifier: MIT
#pragma once

// Hosts include the cells by this name as well.
#include "../state/Cells.h"
