// SPDX-License-Identifier: MIT
#pragma once

#include <ostream>
#include <string>

namespace networksimulation {

/// Something that happened to a simulated device, or that a manager over it told. The functions below make events.
struct Event
{
    std::string what;
    std::string subject;
    std::string text;
};

bool operator==(const Event& left, const Event& right);
inline bool operator!=(const Event& left, const Event& right)
{
    return !(left == right);
}

/// Writes the event for the failure message of a test.
std::ostream& operator<<(std::ostream& output, const Event& event);

/// A file was replaced, or could not be replaced.
Event wrote(const std::string& path, const std::string& text);
Event failedToWrite(const std::string& path, const std::string& text);

/// A file was removed.
Event removed(const std::string& path);

/// A file got another name.
Event renamed(const std::string& from, const std::string& to);

/// A command was run. It returned 0, or it did not.
Event ran(const std::string& command);
Event failedToRun(const std::string& command);

/// requestStatus emitted the text.
Event emitted(const std::string& status);

/// A cell emitted. The source is the interface's name or "host", and the text is the one of networkhost::toText().
Event published(const std::string& source, const std::string& cell, const std::string& text);

} // namespace networksimulation
