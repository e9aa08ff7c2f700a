// SPDX-License-Identifier: MIT
#include "ReportingSystem.h"

#include <cerrno>
#include <system_error>

namespace velnetctl {
namespace {

std::string withoutFinalLineEnds(std::string text)
{
    text.erase(text.find_last_not_of('\n') + 1);
    return text;
}

} // namespace

bool ReportingSystem::writeToConfFile(const std::string& path, const std::string& content)
{
    errno = 0;
    const bool isWritten = SystemIF::writeToConfFile(path, content);
    if (!isWritten) {
        // The library makes no text of settings without an address.
        failures_.push_back(
            "cannot write " + path + ": " +
            (content.empty() ? "there is no IPv4 address to keep" : std::generic_category().message(errno)));
    }
    return isWritten;
}

bool ReportingSystem::executeCmd(const std::string& command, std::string& output, std::string& errorOutput)
{
    const bool isDone = SystemIF::executeCmd(command, output, errorOutput);
    if (!isDone) {
        const auto reason = withoutFinalLineEnds(errorOutput);
        failures_.push_back("'" + command + "' failed" + (reason.empty() ? " without a word" : ": " + reason));
    }
    return isDone;
}

} // namespace velnetctl
