// SPDX-License-Identifier: MIT
#include "Picture.h"

#include "networkhost/text/Checks.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace velnetctl {

using networkhost::TrialState;

namespace {

constexpr Picture::Time kMarkTime(5000);
constexpr std::size_t kMostChanges = 10;
constexpr int kIndentation = 2;
constexpr int kLabelWidth = 12;
constexpr int kLeastForTwo = 80; // columns for two sections side by side

bool isFresh(Picture::Time since, Picture::Time now)
{
    return now - since < kMarkTime;
}

/// Splits the text into pieces of limited size, between words if possible.
std::vector<std::string> wrapped(std::string_view text, std::size_t width)
{
    std::vector<std::string> pieces;
    while (text.size() > width) {
        auto end = text.rfind(' ', width);
        if (end == std::string_view::npos || end == 0) {
            end = width;
            while (end > 1 && (text[end] & '\xC0') == '\x80') { // not within a UTF-8 character
                --end;
            }
        }
        pieces.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(text.find_first_not_of(' ', end), text.size()));
    }
    pieces.emplace_back(text);
    return pieces;
}

/// Appends the row between two columns, and wraps it into as many lines as needed.
void addRow(std::vector<Line>& lines, const Row& row, int column, int labelWidth, int end, bool isMarked)
{
    constexpr int kLeast = 8;
    column += kIndentation;
    const int textColumn = column + labelWidth;
    const auto pieces = wrapped(row.text + row.more, static_cast<std::size_t>(std::max(end - textColumn, kLeast)));
    auto colored = row.text.size();
    for (const auto& piece : pieces) {
        const auto split = std::min(colored, piece.size());
        colored -= split;
        lines.push_back({{column, &piece == pieces.data() ? row.label : "", {}, false},
                         {textColumn, piece.substr(0, split), row.color, isMarked},
                         {textColumn + static_cast<int>(split), piece.substr(split), {}, isMarked}});
    }
}

std::string keysFor(const TrialState& trial)
{
    return trial.kind == TrialState::Kind::Counting  ? "c keeps the setting, r goes back at once"
           : trial.kind == TrialState::Kind::Waiting ? "r goes back at once"
                                                     : "";
}

/// Joins the lines of a text: the output of a failed command may have several.
std::string inOneLine(std::string text)
{
    std::replace(text.begin(), text.end(), '\n', ' ');
    return networkhost::printable(text);
}

/// Cuts the text to the width.
std::string cut(const std::string& text, std::size_t width)
{
    constexpr std::string_view kMore = " ...";
    const auto room = std::max(width, kMore.size() + 1) - kMore.size();
    return text.size() <= width ? text : wrapped(text, room).front() + std::string(kMore);
}

/// Makes the lines fit: drops empty lines first, then the last lines.
void fit(std::vector<Line>& lines, std::size_t height)
{
    if (lines.size() > height) {
        lines.erase(std::remove_if(lines.begin(), lines.end(), [](const Line& line) { return line.empty(); }),
                    lines.end());
    }
    if (lines.size() > height) {
        const auto hidden = lines.size() - height + 1;
        lines.resize(height - 1);
        lines.push_back({{0, "... " + std::to_string(hidden) + " more lines", {}, false}});
    }
}

} // namespace

void Picture::show(const std::vector<Section>& sections, Time now)
{
    const auto sinceNew = sections_.empty() ? -kMarkTime : now; // at first, nothing has changed
    decltype(since_) since;
    for (const auto& [title, rows] : sections) {
        for (const auto& row : rows) {
            const auto key = std::tuple(title, row.label, row.text + row.more);
            const auto known = since_.find(key);
            since[key] = known == since_.end() ? sinceNew : known->second;
        }
    }
    sections_ = sections;
    since_ = std::move(since);
}

void Picture::add(const std::string& head, const std::string& text, Time now)
{
    changes_.push_front({head, text, now});
    if (changes_.size() > kMostChanges) {
        changes_.pop_back();
    }
}

bool Picture::hasMarks(Time now) const
{
    return (!changes_.empty() && isFresh(changes_.front().at, now)) ||
           std::any_of(since_.begin(), since_.end(), [now](const auto& row) { return isFresh(row.second, now); });
}

std::vector<Line> Picture::lines(const networkhost::TrialState& trial, int width, int height, Time now) const
{
    const auto titleLine = [](const std::string& title, int column) {
        return Line{{column, title, Color::Bold, false}};
    };
    std::vector<Line> lines;
    if (trial.isPending()) {
        lines.push_back(titleLine("trial", 0));
        addRow(lines, {{}, inOneLine(trial.text()), Color::Red, {}}, 0, 0, width, false);
        addRow(lines, {{}, keysFor(trial), {}, {}}, 0, 0, width, false);
    }
    if (!told_.empty()) {
        addRow(lines, {{}, inOneLine(told_), Color::Red, {}}, 0, 0, width, false);
    }

    const std::size_t besides = width < kLeastForTwo ? 1 : 2;
    const int gap = width < kLeastForTwo ? 0 : 1;
    for (std::size_t first = 0; first < sections_.size(); first += besides) {
        if (!lines.empty()) {
            lines.emplace_back();
        }
        const auto top = lines.size();
        for (std::size_t i = first; i < std::min(first + besides, sections_.size()); ++i) {
            const int columnWidth = width / static_cast<int>(besides);
            const int column = columnWidth * static_cast<int>(i - first);
            const auto& [title, rows] = sections_[i];
            std::vector<Line> block{titleLine(title, column)};
            std::string lastLabel;
            for (auto row : rows) {
                const bool isMarked = isFresh(since_.at({title, row.label, row.text + row.more}), now);
                const auto label = row.label;
                row.label = label == lastLabel ? "" : label;
                lastLabel = label;
                addRow(block, row, column, kLabelWidth, column + columnWidth - gap, isMarked);
            }
            lines.resize(std::max(lines.size(), top + block.size()));
            for (std::size_t line = 0; line < block.size(); ++line) {
                std::move(block[line].begin(), block[line].end(), std::back_inserter(lines[top + line]));
            }
        }
    }
    lines.emplace_back();
    lines.push_back(titleLine("last changes", 0));

    if (changes_.empty()) {
        addRow(lines, {{}, "none yet (q ends this)", {}, {}}, 0, 0, width, false);
    }
    for (const auto& [head, text, at] : changes_) {
        const auto color = isFresh(at, now) ? std::optional(Color::Bold) : std::nullopt;
        addRow(lines, {head, text, color, {}}, 0, static_cast<int>(head.size()), width, false);
    }
    if (!trial.isPending() && trial.kind != TrialState::Kind::None) {
        lines.emplace_back();
        lines.push_back({{0, cut(inOneLine(trial.text()), static_cast<std::size_t>(width)), {}, false}});
    }
    fit(lines, static_cast<std::size_t>(std::max(height, 1)));
    return lines;
}

} // namespace velnetctl
