# SPDX-License-Identifier: MIT
# Debian's cross compiler for 32-bit ARM: g++-arm-linux-gnueabihf; the unit tests run below qemu-user-static.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi) # remarks on compilers before GCC 7.1
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
# Not with the option -L, which opens that directory in place of /.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm-static
    /usr/arm-linux-gnueabihf/lib/ld-linux-armhf.so.3 --library-path /usr/arm-linux-gnueabihf/lib)
