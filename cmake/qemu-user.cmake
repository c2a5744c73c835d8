# SPDX-FileCopyrightText: 2026 The Korvel authors
# SPDX-License-Identifier: MIT

# The common part of the toolchains for other processors: Debian's cross compilers for Linux, whose
# programs run under qemu-user. KORVEL_PROCESSOR is the name of the processor in both.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${KORVEL_PROCESSOR})
set(CMAKE_C_COMPILER ${KORVEL_PROCESSOR}-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER ${KORVEL_PROCESSOR}-linux-gnu-g++)
list(APPEND CMAKE_FIND_ROOT_PATH /usr/${KORVEL_PROCESSOR}-linux-gnu)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_CROSSCOMPILING_EMULATOR
    qemu-${KORVEL_PROCESSOR} -L /usr/${KORVEL_PROCESSOR}-linux-gnu)
