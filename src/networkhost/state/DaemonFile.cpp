// SPDX-License-Identifier: MIT
#include "networkhost/state/DaemonFile.h"

#include "networkhost/text/Words.h"

#include <algorithm>
#include <string_view>

#include <boost/locale/utf.hpp>

namespace networkhost {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::size_t kLongestLine = 1024UL * 1024UL;

bool isLineEnd(char character)
{
    return character == '\n' || character == '\r' || character == '\0';
}

/// Takes one line off the text. Different line ends in a row are one, for example "\r\n", unless the first is a NUL.
std::string_view takeLine(std::string_view& text)
{
    const auto end = static_cast<std::size_t>(std::find_if(text.begin(), text.end(), isLineEnd) - text.begin());
    const auto line = text.substr(0, end);
    auto next = end;
    while (next < text.size() && isLineEnd(text[next]) &&
           text.substr(end, next - end).find_first_of(std::string_view("\0", 1)) == std::string_view::npos &&
           text.substr(end, next - end).find(text[next]) == std::string_view::npos) {
        ++next;
    }
    text.remove_prefix(next);
    return line;
}

bool isComment(std::string_view line)
{
    const auto first = line.find_first_not_of(" \t");
    return first != std::string_view::npos && (line[first] == '#' || line[first] == ';');
}

/// Whether the next line continues this one. Two backslashes at the end are one that is meant.
bool isContinued(std::string_view line)
{
    const auto last = line.find_last_not_of('\\');
    return (line.size() - (last == std::string_view::npos ? 0 : last + 1)) % 2 == 1;
}

bool isUtf8(const std::string& text)
{
    namespace utf = boost::locale::utf;
    for (auto next = text.begin(); next != text.end();) {
        const auto character = utf::utf_traits<char>::decode(next, text.end());
        if (character == utf::illegal || character == utf::incomplete) {
            return false;
        }
    }
    return true;
}

bool isSectionName(std::string_view name)
{
    return std::none_of(name.begin(), name.end(), [](char character) {
        const auto byte = static_cast<unsigned char>(character);
        return byte < 0x20 || byte == 0x7F || character == '"' || character == '\'' || character == '\\';
    });
}

/// Adds the line to the sections. Returns why the daemons give the file up, or an empty text.
std::string addLine(const std::string& line, std::vector<DaemonSection>& sections)
{
    if (!isUtf8(line)) {
        return "is not UTF-8";
    }
    if (!line.empty() && line.front() == '[') {
        if (line.back() != ']' || line.size() < 2 || !isSectionName(line.substr(1, line.size() - 2))) {
            return "is no section header";
        }
        sections.push_back({line.substr(1, line.size() - 2), {}});
        return {};
    }
    const auto separator = line.find('=');
    if (separator != std::string::npos && separator > 0 && !sections.empty()) {
        const std::string_view view = line;
        sections.back().entries.emplace_back(trimmed(view.substr(0, separator)), trimmed(view.substr(separator + 1)));
    }
    return {};
}

} // namespace

std::string DaemonSection::valueOf(const std::string& key) const
{
    const auto entry = std::find_if(entries.rbegin(), entries.rend(),
                                    [&key](const auto& candidate) { return candidate.first == key; });
    return entry == entries.rend() ? std::string() : entry->second;
}

DaemonFile parseDaemonFile(const std::string& text)
{
    DaemonFile file;
    std::string_view rest = text;
    std::string line; // with those that it continues
    bool hasMark = false;
    unsigned int number = 0;
    const auto finishLine = [&] {
        const auto fault = line.size() > kLongestLine ? "is longer than 1 MiB" : addLine(trimmed(line), file.sections);
        if (!fault.empty()) {
            file.fault = "line " + std::to_string(number) + ' ' + fault;
        }
        line.clear();
    };
    while (!rest.empty() && file.fault.empty()) {
        auto part = takeLine(rest);
        ++number;
        if (part.size() > kLongestLine) {
            line = part;
            break;
        }
        if (isComment(part)) {
            continue; // it does not end a continued line, and is not continued itself
        }
        if (!hasMark && startsWith(part, kByteOrderMark)) {
            part.remove_prefix(kByteOrderMark.size());
            hasMark = true;
        }
        line += part;
        if (isContinued(line)) {
            line.back() = ' ';
        } else {
            finishLine();
        }
    }
    if (file.fault.empty()) {
        finishLine();
    }
    return file;
}

std::vector<std::string> daemonLines(const std::string& text)
{
    std::vector<std::string> lines;
    for (std::string_view rest = text; !rest.empty();) {
        lines.emplace_back(takeLine(rest));
    }
    return lines;
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
