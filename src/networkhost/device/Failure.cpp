// SPDX-License-Identifier: MIT
#include "networkhost/device/Failure.h"

#include <algorithm>
#include <iterator>

#include <boost/algorithm/string/join.hpp>
#include <unistd.h>

namespace networkhost {
namespace {

/// What helps where the rights of this process do not suffice.
std::string adviceOnRights(bool lacksRights)
{
    const bool isRoot = ::geteuid() == 0;
    return lacksRights && !isRoot
               ? " (run it as root, or as a user who may change the network settings, such as velnet)"
               : "";
}

/// Of sudo, or of a tool that asks the kernel.
bool tellsOfRights(const std::string& words)
{
    return words.find("password") != std::string::npos || words.find("sudoers") != std::string::npos ||
           words.find("Operation not permitted") != std::string::npos ||
           words.find("Permission denied") != std::string::npos;
}

} // namespace

std::string Failure::text() const
{
    if (step == Step::RunCommand) {
        return "'" + subject + "' failed" + (words.empty() ? " without a word" : ": " + words) +
               adviceOnRights(tellsOfRights(words));
    }
    auto why = error.message();
    if (error == std::errc::too_many_symbolic_link_levels) {
        why = "a symbolic link or directory on the way belongs neither to root nor to the caller, or others may write "
              "to it";
    } else if (error == std::errc::invalid_argument && words.empty()) {
        why = "it is not a regular file";
    }
    return (step == Step::ReadFile ? "cannot read " : "cannot write ") + subject + ": " +
           (words.empty() ? why : words) +
           adviceOnRights(error == std::errc::permission_denied || error == std::errc::operation_not_permitted);
}

std::string textOf(const std::vector<Failure>& failures)
{
    std::vector<std::string> texts;
    std::transform(failures.begin(), failures.end(), std::back_inserter(texts),
                   [](const auto& failure) { return failure.text(); });
    return boost::algorithm::join(texts, "; ");
}

} // namespace networkhost
