// SPDX-License-Identifier: MIT
#include "networkhost/plan/Diff.h"

#include <algorithm>
#include <sstream>

namespace networkhost {
namespace {

using Lines = std::vector<std::string>;

/// Each with what `diff -u` prints below a last line without its end.
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

/// lengths[i][j]: of the longest common subsequence of before[i..] and after[j..].
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

/// The files are short: all of them is one hunk.
std::string hunk(const Lines& before, const Lines& after)
{
    const auto range = [](const Lines& lines) { return (lines.empty() ? "0," : "1,") + std::to_string(lines.size()); };
    auto text = "@@ -" + range(before) + " +" + range(after) + " @@\n";
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
