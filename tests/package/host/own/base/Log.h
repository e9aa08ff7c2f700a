// SPDX-License-Identifier: MIT
// A header of the host with the same name as one of the library.
#pragma once

#define THE_HOSTS_OWN_LOG
