# SPDX-FileCopyrightText: 2026 The Korvel authors
# SPDX-License-Identifier: MIT

# Toolchain: Linux on s390x with Debian's g++-s390x-linux-gnu; programs run under qemu-user.

set(KORVEL_PROCESSOR s390x)
include("${CMAKE_CURRENT_LIST_DIR}/qemu-user.cmake")
