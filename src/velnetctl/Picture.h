// SPDX-License-Identifier: MIT
#pragma once

#include "Sections.h"
#include "networkhost/change/Trial.h"

#include <chrono>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

namespace velnetctl {

/// A text at a column of a line.
struct Span
{
    int column;
    std::string text;
    std::optional<Color> color;
    bool isMarked; // shown as changed
};

using Line = std::vector<Span>;

/// The content of `velnetctl watch`, without the drawing: the state, the trial, and the last changes.
class Picture
{
public:
    using Time = std::chrono::milliseconds; // on the device's clock

    /// Sets the present state. Rows that were not in the last one are marked for 5 s.
    void show(const std::vector<Section>& sections, Time now);

    /// Adds one to the last changes. The texts have no control characters.
    void add(const std::string& head, const std::string& text, Time now);

    bool hasMarks(Time now) const;

    /// Sets the reason why a key had no effect; empty for none.
    void tell(const std::string& text) { told_ = text; }

    /// The lines from the top, the most important ones first, wrapped at the width. A low window gets no empty lines,
    /// and its last line says how many lines do not fit.
    std::vector<Line> lines(const networkhost::TrialState& trial, int width, int height, Time now) const;

private:
    struct LastChange
    {
        std::string head;
        std::string text;
        Time at;
    };

    std::string told_;
    std::vector<Section> sections_;
    std::map<std::tuple<std::string, std::string, std::string>, Time> since_; // by title, label and text of a row
    std::deque<LastChange> changes_;                                          // the newest is the first
};

} // namespace velnetctl
