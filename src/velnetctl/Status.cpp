// SPDX-License-Identifier: MIT
#include "Status.h"

#include "Sections.h"
#include "Text.h"
#include "networkhost/state/Snapshot.h"
#include "networkhost/text/Checks.h"

#include <algorithm>
#include <iomanip>
#include <utility>

namespace velnetctl {

using networkhost::printable;
using networkhost::Snapshot;
using networkhost::TrialState;

namespace {

bool contains(const std::vector<std::string>& names, const std::string& name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

Row stateOf(const TrialState& trial)
{
    switch (trial.kind) {
    case TrialState::Kind::Waiting:
        return {"state", "not live yet", {}, ", " + secondsText(trial.left) + " left to become live"};
    case TrialState::Kind::Counting:
        return {"state", "live", {}, ", " + secondsText(trial.left) + " left to confirm"};
    default:
        return {"state", nameOf(trial.kind), {}, {}};
    }
}

Section sectionOf(const TrialState& trial)
{
    if (trial.kind == TrialState::Kind::Unreadable) {
        return {"trial", {{"pending", printable(trial.text()), Color::Red, {}}}};
    }
    return {"trial",
            {{"pending", printable(trial.title), Color::Red, ", by " + printable(trial.by)},
             stateOf(trial),
             {"to keep it", "velnetctl confirm", {}, {}},
             {"to go back", "velnetctl rollback", {}, {}}}};
}

void printStatusText(Session& session, const Snapshot& snapshot, const std::vector<std::string>& interfaceNames)
{
    auto& output = session.output;
    const char* between = "";
    auto sections = sectionsOf(snapshot);
    if (snapshot.trial.isPending()) {
        sections.insert(sections.begin(), sectionOf(snapshot.trial));
    }
    for (auto& section : sections) {
        const bool isInterface = snapshot.interfaces.count(section.title) > 0;
        if (isInterface && !contains(interfaceNames, section.title)) {
            continue;
        }
        for (const auto& path :
             isInterface ? snapshot.configured.interfaces.at(section.title).files : std::vector<std::string>()) {
            section.rows.push_back({"files", printable(path), {}, {}});
        }
        output << std::exchange(between, "\n") << colored(Color::Bold, section.title) << '\n';
        std::string last;
        for (const auto& [label, text, color, more] : section.rows) {
            output << "  " << std::left << std::setw(12) << (label == last ? "" : label)
                   << (color ? colored(*color, text) : text) << more << '\n';
            last = label;
        }
    }
}

} // namespace

void printStatus(Session& session, const std::vector<std::string>& interfaceNames, bool json)
{
    const auto snapshot = networkhost::readSnapshot(session.device);
    std::vector<std::string> names;
    for (const auto& entry : snapshot.interfaces) {
        if (interfaceNames.empty() || contains(interfaceNames, entry.first)) {
            names.push_back(entry.first);
        }
    }
    if (json) {
        session.output << toJson(snapshot, names) << '\n';
    } else {
        printStatusText(session, snapshot, names);
    }
}

} // namespace velnetctl
