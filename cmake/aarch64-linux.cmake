# SPDX-FileCopyrightText: 2026 The Korvel authors
# SPDX-License-Identifier: MIT

# Toolchain: Linux on aarch64 with Debian's g++-aarch64-linux-gnu; programs run under qemu-user.

set(KORVEL_PROCESSOR aarch64)
include("${CMAKE_CURRENT_LIST_DIR}/qemu-user.cmake")
