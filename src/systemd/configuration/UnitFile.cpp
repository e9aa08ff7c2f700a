// SPDX-License-Identifier: MIT
#include "systemd/configuration/UnitFile.h"

#include <istream>
#include <ostream>
#include <string_view>
#include <utility>

namespace vel_systemd::configuration::file {
namespace {

void finishSection(Content& finished, Section& current)
{
    if (!current.name.empty() && !current.entries.empty()) {
        finished.push_back(std::move(current));
    }
    current = {};
}

std::string headerName(const std::string& line)
{
    const auto end = line.find(']');
    return line.substr(1, end == std::string::npos ? end : end - 1);
}

void addEntry(Section& section, std::string_view line)
{
    const auto separator = line.find('=');
    if (separator == std::string::npos) {
        section.entries.emplace(line, line); // kept: no line of a section gets lost
    } else {
        section.entries.emplace(line.substr(0, separator), line.substr(separator + 1));
    }
}

void parseLine(Content& finished, Section& current, const std::string& line)
{
    if (line.empty() || line.front() == '#' || line.front() == ';') {
        return;
    }
    if (line.front() == '[') {
        finishSection(finished, current);
        current.name = headerName(line);
    } else {
        addEntry(current, line);
    }
}

} // namespace

bool operator==(const Section& left, const Section& right)
{
    return left.name == right.name && left.entries == right.entries;
}

std::istream& operator>>(std::istream& input, FileConverter converter)
{
    Content& target = std::get<0>(converter.content_);
    if (!input.good()) {
        return input;
    }
    Content finished;
    Section current;
    std::string line;
    while (!input.eof()) {
        std::getline(input, line);
        if (input.fail() && !input.eof()) {
            return input;
        }
        parseLine(finished, current, line);
    }
    finishSection(finished, current);
    target.splice(target.end(), finished);
    return input;
}

std::ostream& operator<<(std::ostream& output, const FileConverter& converter)
{
    const auto& content =
        std::visit([](const auto& reference) -> const Content& { return reference; }, converter.content_);
    bool isFirst = true;
    for (const auto& section : content) {
        // kept: the place in the list decides on the empty line. It also follows a first section that is skipped.
        const char* separator = std::exchange(isFirst, false) ? "" : "\n";
        if (section.name.empty()) {
            continue;
        }
        output << separator << '[' << section.name << "]\n";
        for (const auto& [key, value] : section.entries) {
            if (!key.empty()) {
                output << key << '=' << value << '\n';
            }
        }
    }
    return output;
}

} // namespace vel_systemd::configuration::file
