// SPDX-License-Identifier: MIT
#include "Session.h"

#include "networkhost/text/Checks.h"

#include <sstream>

namespace velnetctl {

void warn(Session& session, const std::string& text)
{
    fail(session, "warning: " + text);
}

void fail(Session& session, const std::string& text)
{
    session.errors << printableLines(text, "velnetctl: ") << std::flush;
}

std::string printableLines(const std::string& text, const std::string& prefix)
{
    std::istringstream lines(text); // the output of a failed command may have several lines
    std::string result;
    for (std::string line; std::getline(lines, line);) {
        result += prefix + networkhost::printable(line) + '\n';
    }
    return result;
}

} // namespace velnetctl
