# SPDX-FileCopyrightText: 2026 The Korvel authors
# SPDX-License-Identifier: MIT

# The target "lint": checks the format with clang-format, then runs the checks of .clang-tidy on every
# source file that this build compiles, except generated ones.

find_program(CLANG_FORMAT clang-format)
find_program(RUN_CLANG_TIDY run-clang-tidy)
if(CLANG_FORMAT AND RUN_CLANG_TIDY)
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS
        include/*.h src/*.h src/*.cpp tests/*.h tests/*.cpp examples/*.h examples/*.cpp
        bench/*.h bench/*.cpp)
    add_custom_target(lint
        COMMAND "${CLANG_FORMAT}" --dry-run --Werror ${sources}
        COMMAND "${RUN_CLANG_TIDY}" -quiet -p "${PROJECT_BINARY_DIR}"
            "^${PROJECT_SOURCE_DIR}/(src|tests|examples|bench)/"
        WORKING_DIRECTORY "${PROJECT_SOURCE_DIR}"
        VERBATIM)
endif()
