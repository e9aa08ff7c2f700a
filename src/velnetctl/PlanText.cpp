// SPDX-License-Identifier: MIT
#include "PlanText.h"

#include "Json.h"
#include "networkhost/plan/Diff.h"
#include "networkhost/text/Checks.h"

#include <sstream>

#include <unistd.h>

namespace velnetctl {
namespace {

std::vector<networkhost::Command> commandsOf(const networkhost::Plan& plan)
{
    auto commands = plan.preparations;
    commands.insert(commands.end(), plan.activations.begin(), plan.activations.end());
    return commands;
}

void printJson(Session& session, const networkhost::Plan& plan)
{
    Json json = {{"files", Json::array()}, {"commands", Json::array()}};
    for (const auto& file : plan.files) {
        json["files"].push_back({{"path", file.path}, {"before", toJson(file.before)}, {"after", toJson(file.after)}});
    }
    for (const auto& command : commandsOf(plan)) {
        json["commands"].push_back(command.text);
    }
    session.output << dump(json, 2) << '\n';
}

/// Unchanged for patch(1); on a terminal, control characters become text.
std::string forOutput(const std::string& diff)
{
    if (::isatty(STDOUT_FILENO) != 1) {
        return diff;
    }
    std::string text;
    std::istringstream lines(diff);
    std::string line;
    while (std::getline(lines, line)) {
        text += networkhost::printable(line) + '\n';
    }
    return text;
}

void printText(Session& session, const networkhost::Plan& plan)
{
    session.output << forOutput(toDiff(plan));
    for (const auto& command : commandsOf(plan)) {
        session.output << "runs: " << networkhost::printable(command.text) << '\n';
    }
}

} // namespace

void printPlan(Session& session, const networkhost::Plan& plan, bool json)
{
    (json ? printJson : printText)(session, plan);
}

} // namespace velnetctl
