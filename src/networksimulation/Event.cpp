// SPDX-License-Identifier: MIT
#include "networksimulation/Event.h"

namespace networksimulation {

bool operator==(const Event& left, const Event& right)
{
    return left.what == right.what && left.subject == right.subject && left.text == right.text;
}

std::ostream& operator<<(std::ostream& output, const Event& event)
{
    output << event.what << ' ' << event.subject;
    return event.text.empty() ? output : output << ": " << event.text;
}

Event wrote(const std::string& path, const std::string& text)
{
    return {"wrote", path, text};
}

Event failedToWrite(const std::string& path, const std::string& text)
{
    return {"failed to write", path, text};
}

Event removed(const std::string& path)
{
    return {"removed", path, {}};
}

Event renamed(const std::string& from, const std::string& to)
{
    return {"renamed", from, to};
}

Event ran(const std::string& command)
{
    return {"ran", command, {}};
}

Event failedToRun(const std::string& command)
{
    return {"failed to run", command, {}};
}

Event emitted(const std::string& status)
{
    return {"emitted", status, {}};
}

Event published(const std::string& source, const std::string& cell, const std::string& text)
{
    return {"published", source + ' ' + cell, text};
}

} // namespace networksimulation
