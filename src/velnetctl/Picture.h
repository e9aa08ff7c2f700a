// SPDX-License-Identifier: MIT
#pragma once

#include "Snapshot.h"
#include "networkhost/change/Trial.h"

#include <chrono>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

namespace velnetctl {

/// A text at a place of its line.
struct Span
{
    int column;
    std::string text;
    std::optional<Color> color;
    bool isMarked; // it has just changed
};

using Line = std::vector<Span>;

/// The content of `velnetctl watch`, without the drawing: the state, the trial, and the last changes.
class Picture
{
public:
    using Time = std::chrono::milliseconds; // on the device's clock

    /// The present state. What was not in the last one is marked for 5 s.
    void show(const std::vector<Section>& sections, Time now);

    /// One of the last changes. The texts have no control characters.
    void add(const std::string& head, const std::string& text, Time now);

    bool hasMarks(Time now) const;

    /// Why a key did not do what it is for; empty for nothing to tell.
    void tell(const std::string& text) { told_ = text; }

    /// From the top, with what matters least at the end; texts are wrapped at that width. In a low window they stand
    /// closer, and the last line tells how many do not fit.
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
