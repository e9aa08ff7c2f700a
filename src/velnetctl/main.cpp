// SPDX-License-Identifier: MIT
#include "CommandLine.h"
#include "networkhost/device/RealDevice.h"

#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <system_error>

int main(int argc, char** argv)
{
    // The guard is this program.
    std::error_code noLink;
    const auto self = std::filesystem::read_symlink("/proc/self/exe", noLink);
    networkhost::RealDevice device(noLink ? "velnetctl" : self.string());
    velnetctl::Session session{device, std::cout, std::cerr};
    try {
        const int code = velnetctl::run({argv + 1, argv + argc}, session);
        if (!std::cout.flush()) {
            velnetctl::fail(session, "cannot write to standard output");
            return EXIT_FAILURE;
        }
        return code;
    } catch (const std::exception& error) {
        velnetctl::fail(session, error.what());
        return EXIT_FAILURE;
    }
}
