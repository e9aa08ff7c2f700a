// SPDX-License-Identifier: MIT
#include "systemd/configuration/UnitFile.h"

#include "Fuzz.h"

#include <sstream>

using vel_systemd::configuration::file::Content;
using vel_systemd::configuration::file::FileConverter;

namespace {

Content parsed(const std::string& text, Content content = {})
{
    std::istringstream(text) >> FileConverter(content);
    return content;
}

std::string written(const Content& content)
{
    std::ostringstream text;
    text << FileConverter(content);
    return text.str();
}

/// Removes the entries that the format cannot express.
Content writable(Content content)
{
    for (auto& section : content) {
        section.entries.erase("");
    }
    content.remove_if([](const auto& section) { return section.entries.empty(); });
    return content;
}

} // namespace

void fuzz::check(const std::string& input)
{
    const auto content = parsed(input);
    for (const auto& section : content) {
        require(!section.name.empty() && !section.entries.empty(), "a section has a name and entries");
    }
    auto twice = content;
    twice.insert(twice.end(), content.begin(), content.end());
    require(parsed(input, content) == twice, "a second reading appends the same");
    require(parsed(written(content)) == writable(content), "what is written reads as what was there");
}
