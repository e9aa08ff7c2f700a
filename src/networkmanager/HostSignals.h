// SPDX-License-Identifier: MIT
#pragma once

#include "../base/OnlyOnChanged.h"
#include "../base/Signal.h"

#include <string>

/// The observable values of the host. For threads see OnlyOnChanged. A slot of `hostname` or `gateway` must not call a
/// set operation, and a slot of `requestStatus` must not read one of these two cells. Otherwise they would wait for
/// each other for ever.
struct HostSignals
{
    using Signal = velbase2::system::signals::signal<std::string>;
    using Cell =
        velbase2::businesslogichelpers::OnlyOnChanged<Signal,
                                                      velbase2::businesslogichelpers::DefaultCompare<std::string, 2>>;

    Cell hostname;
    Cell gateway;         // default gateway of the interface that holds it; empty when there is no default route
    Signal requestStatus; // outcome of each set request: "OK" or the reason; slots run on the caller's thread
};
