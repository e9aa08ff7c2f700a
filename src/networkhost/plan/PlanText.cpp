// SPDX-License-Identifier: MIT
#include "networkhost/plan/PlanText.h"

#include "networkhost/plan/Diff.h"
#include "networkhost/state/Json.h"
#include "networkhost/text/Checks.h"
#include "networkhost/text/Words.h"
#include "networkmanager/RequestStatus.h"

#include <vector>

namespace networkhost {
namespace {

namespace status = networkmanager::status;

/// Several lines when it tells the output of a command.
std::string sentence(const std::string& text)
{
    std::string result;
    for (const auto& line : linesOf(text)) {
        result += printable(line) + '\n';
    }
    return result;
}

std::string sentences(const std::string& head, const std::vector<std::string>& texts)
{
    std::string result;
    for (const auto& text : texts) {
        result += sentence(head + text);
    }
    return result;
}

std::vector<std::string> commandsOf(const Plan& plan)
{
    std::vector<std::string> texts;
    for (const auto* const commands : {&plan.preparations, &plan.activations}) {
        for (const auto& command : *commands) {
            texts.push_back(command.text);
        }
    }
    return texts;
}

std::string reasonText(const Outcome& outcome)
{
    if (!outcome.objections.empty()) {
        return sentences("", outcome.objections);
    }
    const bool isStatusToo = outcome.status == status::kInvalidIpOrMask;
    return sentence((isStatusToo ? outcome.status + ": " : "") + outcome.reason);
}

} // namespace

std::string toText(const Plan& plan)
{
    std::string text;
    if (plan.isRefused()) {
        text = sentences("refused: ", plan.faults.empty() ? std::vector{plan.refusal} : plan.faults);
    } else if (plan.isNothingToChange()) {
        text = sentence(plan.status);
    }
    return text + sentences("refused unless it is forced: ", plan.objections) + sentences("warning: ", plan.warnings) +
           stepsText(plan);
}

std::string stepsText(const Plan& plan)
{
    auto text = toDiff(plan);
    for (const auto& command : commandsOf(plan)) {
        text += "runs: " + printable(command) + '\n';
    }
    return text;
}

std::string toJson(const Plan& plan, int indentation)
{
    Json json = {{"files", Json::array()}, {"commands", commandsOf(plan)}};
    for (const auto& file : plan.files) {
        json["files"].push_back({{"path", file.path}, {"before", jsonOf(file.before)}, {"after", jsonOf(file.after)}});
    }
    return dump(json, indentation);
}

std::string toText(const Outcome& outcome)
{
    if (!outcome.isDone && !outcome.isNothingToChange()) {
        return reasonText(outcome) + sentences("", outcome.notes);
    }
    const bool isSilent = outcome.status.empty(); // the library emits nothing for DNS
    return sentence(isSilent ? status::kOk : outcome.status) + sentences("warning: ", outcome.notes);
}

} // namespace networkhost
