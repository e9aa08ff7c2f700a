// SPDX-License-Identifier: MIT
#include "CommandLine.h"
#include "networkhost/RealDevice.h"

#include <cstdlib>
#include <exception>
#include <iostream>

int main(int argc, char** argv)
{
    networkhost::RealDevice device;
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
