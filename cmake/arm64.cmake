# SPDX-License-Identifier: MIT
# Debian's cross compiler for 64-bit ARM: g++-aarch64-linux-gnu; the unit tests run below qemu-user-static.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
# Not with the option -L, which opens that directory in place of /.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64-static
    /usr/aarch64-linux-gnu/lib/ld-linux-aarch64.so.1 --library-path /usr/aarch64-linux-gnu/lib)
