# SPDX-FileCopyrightText: 2026 The Korvel authors
# SPDX-License-Identifier: MIT

# How Korvel's own code is compiled. None of this reaches the targets that link the library.

function(korvel_own_code target)
    set_target_properties(${target} PROPERTIES
        CXX_STANDARD 20
        CXX_STANDARD_REQUIRED ON
        CXX_EXTENSIONS OFF)
    if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
        target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
    endif()
    if(KORVEL_WERROR)
        set_target_properties(${target} PROPERTIES COMPILE_WARNING_AS_ERROR ON)
    endif()
endfunction()

# Settings of the two libraries. Each has the map of its exports in <target>.map.
function(korvel_library target)
    korvel_own_code(${target})
    target_compile_features(${target} PUBLIC cxx_std_17)
    set_target_properties(${target} PROPERTIES
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON)
    # A symbol that is unique in the process would keep the library from being unloaded.
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
    # Calls inside the library need not be open to replacement from outside.
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-semantic-interposition>)
    if(KORVEL_LIBRARY_TYPE STREQUAL "SHARED" AND NOT WIN32 AND NOT APPLE)
        # Keeps the instances of standard templates, which are weak and visible, out of the interface.
        set(map "${PROJECT_SOURCE_DIR}/cmake/${target}.map")
        target_link_options(${target} PRIVATE
            "LINKER:--version-script=${map}" "LINKER:-Bsymbolic-functions")
        set_target_properties(${target} PROPERTIES LINK_DEPENDS "${map}")
    endif()
endfunction()

set(KORVEL_SANITIZE "" CACHE STRING "Sanitizers for the whole build, as -fsanitize= takes them")
if(KORVEL_SANITIZE)
    add_compile_options(-fsanitize=${KORVEL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${KORVEL_SANITIZE})
endif()
