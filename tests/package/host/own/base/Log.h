// SPDX-License-Identifier: MIT
// A header of the host, of a name that the library has too.
#pragma once

#define THE_HOSTS_OWN_LOG
