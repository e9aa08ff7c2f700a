// SPDX-License-Identifier: MIT
#include "networksimulation/System.h"

#include <algorithm>
#include <cerrno>

namespace networksimulation {

std::vector<velbase2::nsa::common::structs::IpAddress> System::getAddresses(const std::string& interfaceName) const
{
    return shell_.addressesOf(interfaceName);
}

std::string System::readFile(const std::string& path) const
{
    auto text = disk_.read(path).value_or("");
    text.erase(std::remove(text.begin(), text.end(), '\n'), text.end());
    return text;
}

bool System::writeToConfFile(const std::string& path, const std::string& content)
{
    const int error = content.empty() ? EINVAL : disk_.write(path, content).value();
    errno = error == 0 ? errno : error;
    return error == 0;
}

bool System::executeCmd(const std::string& command, std::string& output, std::string& errorOutput)
{
    output.clear();
    return shell_.run(command, errorOutput);
}

} // namespace networksimulation
