// SPDX-License-Identifier: MIT
#include "networkhost/plan/Diff.h"

#include <algorithm>
#include <iterator>
#include <sstream>

namespace networkhost {
namespace {

using Lines = std::vector<std::string>;

/// The lines with their ends. A last line without an end gets the note that `diff -u` prints.
Lines linesOf(const std::optional<std::string>& text)
{
    Lines lines;
    std::istringstream input(text.value_or(""));
    std::string line;
    while (std::getline(input, line)) {
        lines.push_back(line + (input.eof() ? "\n\\ No newline at end of file\n" : "\n"));
    }
    return lines;
}

/// lengths[i][j] is the length of the longest common subsequence of before[i..] and after[j..].
std::vector<std::vector<std::size_t>> commonLengths(const Lines& before, const Lines& after)
{
    std::vector<std::vector<std::size_t>> lengths(before.size() + 1, std::vector<std::size_t>(after.size() + 1));
    for (auto i = before.size(); i-- > 0;) {
        for (auto j = after.size(); j-- > 0;) {
            lengths[i][j] =
                before[i] == after[j] ? lengths[i + 1][j + 1] + 1 : std::max(lengths[i + 1][j], lengths[i][j + 1]);
        }
    }
    return lengths;
}

std::string joined(char sign, const Lines& lines)
{
    std::string text;
    for (const auto& line : lines) {
        text += sign + line;
    }
    return text;
}

std::string changedLines(const Lines& before, const Lines& after)
{
    constexpr std::size_t kMostEntries = 1000000; // entries of the table, 8 MB
    if (before.size() * after.size() > kMostEntries) {
        return joined('-', before) + joined('+', after);
    }
    std::string text;
    const auto lengths = commonLengths(before, after);
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < before.size() || j < after.size()) {
        if (i < before.size() && j < after.size() && before[i] == after[j]) {
            text += ' ' + before[i++];
            ++j;
        } else if (j == after.size() || (i < before.size() && lengths[i + 1][j] >= lengths[i][j + 1])) {
            text += '-' + before[i++];
        } else {
            text += '+' + after[j++];
        }
    }
    return text;
}

/// The whole file is one hunk, because the files are short.
std::string hunk(const Lines& before, const Lines& after)
{
    const auto range = [](const Lines& lines) { return (lines.empty() ? "0," : "1,") + std::to_string(lines.size()); };
    const auto first = std::mismatch(before.begin(), before.end(), after.begin(), after.end());
    const auto last = std::mismatch(before.rbegin(), std::make_reverse_iterator(first.first), after.rbegin(),
                                    std::make_reverse_iterator(first.second));
    return "@@ -" + range(before) + " +" + range(after) + " @@\n" + joined(' ', {before.begin(), first.first}) +
           changedLines({first.first, last.first.base()}, {first.second, last.second.base()}) +
           joined(' ', {last.first.base(), before.end()});
}

std::string nameOf(const std::string& path, const std::optional<std::string>& text)
{
    return text ? path : "/dev/null";
}

} // namespace

std::string toDiff(const Plan& plan)
{
    std::string diff;
    for (const auto& [path, before, after] : plan.files) {
        if (before != after) {
            diff += "--- " + nameOf(path, before) + "\n+++ " + nameOf(path, after) + '\n' +
                    hunk(linesOf(before), linesOf(after));
        }
    }
    return diff;
}

} // namespace networkhost
