// SPDX-License-Identifier: MIT
#include "networkhost/device/LockHolder.h"

#include "base/ReadFile.h"
#include "networkhost/text/Checks.h"
#include "networkhost/text/Words.h"

#include <sys/stat.h>
#include <unistd.h>

namespace networkhost {
namespace {

std::string readText(const std::string& path)
{
    std::string text;
    velbase2::system::readFile(path, text);
    return text;
}

std::string describe(const std::string& process)
{
    const auto names = wordsOf(readText("/proc/" + process + "/comm"));
    return "process " + process + (names.empty() ? "" : " (" + printable(names.front()) + ')');
}

/// The inode number that /proc/locks shows. On an overlay it differs from the number of stat(2).
std::string inodeOf(int fd)
{
    for (const auto& line : linesOf(readText("/proc/self/fdinfo/" + std::to_string(fd)))) {
        if (const auto words = wordsOf(line); words.size() == 2 && words.front() == "ino:") {
            return words.back();
        }
    }
    struct stat status = {}; // before Linux 5.14, fdinfo has no "ino:"
    return ::fstat(fd, &status) == 0 ? std::to_string(status.st_ino) : std::string();
}

} // namespace

std::string lockHolder(int fd)
{
    const auto inode = ':' + inodeOf(fd);
    for (const auto& line : linesOf(readText("/proc/locks"))) {
        // "1: FLOCK  ADVISORY  WRITE 812 00:2d:4711 0 EOF"
        const auto words = wordsOf(line);
        const bool isHeld = words.size() > 5 && words[1] == "FLOCK";
        if (isHeld && inode.size() > 1 && endsWith(words[5], inode)) {
            return describe(words[4]);
        }
    }
    return "another process";
}

std::string thisProcess()
{
    return describe(std::to_string(::getpid()));
}

} // namespace networkhost
