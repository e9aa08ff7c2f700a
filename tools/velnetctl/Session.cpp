// SPDX-License-Identifier: MIT
#include "Session.h"

#include "networkhost/Checks.h"

namespace velnetctl {

void warn(Session& session, const std::string& text)
{
    fail(session, "warning: " + text);
}

void fail(Session& session, const std::string& text)
{
    session.errors << "velnetctl: " << networkhost::printable(text) << std::endl;
}

} // namespace velnetctl
