# SPDX-FileCopyrightText: 2026 The Korvel authors
# SPDX-License-Identifier: MIT

# GoogleTest and nlohmann_json for the tests, from Debian's packages. If these do not fit the target,
# GoogleTest is built from the sources in its package, and the JSON headers are copied.

if(CMAKE_CROSSCOMPILING OR CMAKE_CXX_FLAGS MATCHES "stdlib=libc\\+\\+")
    block()
        set(BUILD_SHARED_LIBS OFF)
        add_subdirectory(/usr/src/googletest googletest EXCLUDE_FROM_ALL SYSTEM)
    endblock()
else()
    find_package(GTest REQUIRED)
endif()

if(CMAKE_CROSSCOMPILING)
    file(COPY /usr/include/nlohmann DESTINATION "${PROJECT_BINARY_DIR}/include")
    add_library(nlohmann_json::nlohmann_json INTERFACE IMPORTED)
    target_include_directories(nlohmann_json::nlohmann_json INTERFACE "${PROJECT_BINARY_DIR}/include")
else()
    find_package(nlohmann_json REQUIRED)
endif()
