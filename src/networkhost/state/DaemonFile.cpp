// SPDX-License-Identifier: MIT
#include "networkhost/state/DaemonFile.h"

#include "networkhost/text/Words.h"

#include <algorithm>
#include <sstream>
#include <string_view>

namespace networkhost {
namespace {

bool isComment(const std::string& line)
{
    return line.empty() || line.front() == '#' || line.front() == ';';
}

/// Reads the next line together with its continuation lines.
bool readLogicalLine(std::istream& input, std::string& line)
{
    line.clear();
    std::string part;
    while (std::getline(input, part)) {
        part = trimmed(part);
        if (!line.empty() && isComment(part)) {
            continue; // a comment does not end a continued line
        }
        if (part.empty() || part.back() != '\\') {
            line += part;
            return true;
        }
        part.back() = ' ';
        line += part;
    }
    return !line.empty();
}

} // namespace

std::string DaemonSection::valueOf(const std::string& key) const
{
    const auto entry = std::find_if(entries.rbegin(), entries.rend(),
                                    [&key](const auto& candidate) { return candidate.first == key; });
    return entry == entries.rend() ? std::string() : entry->second;
}

std::vector<DaemonSection> parseDaemonFile(const std::string& text)
{
    std::vector<DaemonSection> sections;
    std::istringstream input(text);
    std::string line;
    while (readLogicalLine(input, line)) {
        if (isComment(line)) {
            continue;
        }
        if (line.front() == '[' && line.back() == ']') {
            sections.push_back({line.substr(1, line.size() - 2), {}});
            continue;
        }
        const auto separator = line.find('=');
        if (separator != std::string::npos && !sections.empty()) {
            const std::string_view view = line;
            sections.back().entries.emplace_back(trimmed(view.substr(0, separator)),
                                                 trimmed(view.substr(separator + 1)));
        }
    }
    return sections;
}

void assignList(std::vector<std::string>& list, const std::string& value)
{
    if (value.empty()) {
        list.clear();
    }
    for (auto& word : wordsOf(value)) {
        list.push_back(std::move(word));
    }
}

} // namespace networkhost
