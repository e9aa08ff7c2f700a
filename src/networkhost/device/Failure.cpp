// SPDX-License-Identifier: MIT
#include "networkhost/device/Failure.h"

#include <algorithm>
#include <iterator>

#include <boost/algorithm/string/join.hpp>
#include <unistd.h>

namespace networkhost {
namespace {

constexpr const char* kAnotherUser =
    " (run it as root, or as a user who may change the network settings, such as velnet)";
constexpr const char* kCapability =
    " (it needs CAP_NET_ADMIN: run it as root, or in a unit with this ambient capability)";

bool isRoot()
{
    return ::geteuid() == 0;
}

/// Returns the advice for a command that lacks rights: sudo asks for the rights of a user, the kernel for those of a
/// process.
const char* adviceOnCommand(const std::string& command, const std::string& words)
{
    const auto tells = [&words](const char* text) { return words.find(text) != std::string::npos; };
    const bool isDenied = tells("Operation not permitted") || tells("Permission denied");
    if (isRoot() || !(isDenied || tells("password") || tells("sudoers"))) {
        return "";
    }
    const bool asksKernel = command.rfind("route ", 0) == 0 || command.rfind("ip ", 0) == 0;
    return asksKernel ? kCapability : kAnotherUser;
}

} // namespace

std::string Failure::text() const
{
    if (step == Step::RunCommand) {
        return "'" + subject + "' failed" + (words.empty() ? " without a word" : ": " + words) +
               adviceOnCommand(subject, words);
    }
    auto why = error.message();
    if (error == std::errc::too_many_symbolic_link_levels) {
        why = "a symbolic link or directory on the way belongs neither to root nor to the caller, or others may write "
              "to it";
    } else if (error == std::errc::invalid_argument && words.empty()) {
        why = "it is not a regular file";
    }
    const bool lacksRights = error == std::errc::permission_denied || error == std::errc::operation_not_permitted;
    return (step == Step::ReadFile ? "cannot read " : "cannot write ") + subject + ": " +
           (words.empty() ? why : words) + (lacksRights && !isRoot() ? kAnotherUser : "");
}

std::string textOf(const std::vector<Failure>& failures)
{
    std::vector<std::string> texts;
    std::transform(failures.begin(), failures.end(), std::back_inserter(texts),
                   [](const auto& failure) { return failure.text(); });
    return boost::algorithm::join(texts, "; ");
}

} // namespace networkhost
