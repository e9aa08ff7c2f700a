// SPDX-License-Identifier: MIT
#include "networkhost/text/Words.h"

#include <algorithm>
#include <iterator>
#include <sstream>

namespace networkhost {

std::string trimmed(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t\r";
    const auto first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return std::string(text.substr(first, text.find_last_not_of(kBlanks) - first + 1));
}

std::vector<std::string> wordsOf(const std::string& text)
{
    std::istringstream words(text);
    return {std::istream_iterator<std::string>(words), {}};
}

std::vector<std::string> linesOf(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream input(text);
    for (std::string line; std::getline(input, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::string secondsText(std::chrono::milliseconds time)
{
    return std::to_string(std::max<long long>(std::chrono::ceil<std::chrono::seconds>(time).count(), 0)) + " s";
}

bool startsWith(std::string_view text, std::string_view beginning) noexcept
{
    return text.substr(0, beginning.size()) == beginning;
}

bool endsWith(std::string_view text, std::string_view end) noexcept
{
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

} // namespace networkhost
