# SPDX-FileCopyrightText: 2026 The Korvel authors
# SPDX-License-Identifier: MIT

set(KORVEL_CMAKE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/Korvel")

# Installs a library. EXPORT names the file of its CMake targets; COMPONENT is that of the shared
# library.
function(korvel_install target export component)
    install(TARGETS ${target} EXPORT ${export}
        RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT ${component}
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT ${component}
            NAMELINK_COMPONENT development
        ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT development)
    install(EXPORT ${export} NAMESPACE Korvel:: DESTINATION "${KORVEL_CMAKE_DIR}"
        COMPONENT development)
endfunction()

# The pkg-config file finds the package relative to itself, so that an installed tree can be moved.
# This is not possible for a directory that is configured as absolute.
set(KORVEL_PC_LIBDIR "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
set(KORVEL_PC_INCLUDEDIR "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
    set(KORVEL_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
    set(KORVEL_PC_LIBDIR "${CMAKE_INSTALL_LIBDIR}")
else()
    file(RELATIVE_PATH KORVEL_PC_UP "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
    set(KORVEL_PC_PREFIX "\${pcfiledir}/${KORVEL_PC_UP}")
endif()
if(IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
    set(KORVEL_PC_INCLUDEDIR "${CMAKE_INSTALL_INCLUDEDIR}")
endif()
if(KORVEL_LIBRARY_TYPE STREQUAL "STATIC")
    set(KORVEL_PC_LIBS "-pthread")
    set(KORVEL_PC_CFLAGS "-DKORVEL_STATIC")
endif()

# korvel_pkg_config(NAME REQUIRES): installs the file NAME.pc.
function(korvel_pkg_config KORVEL_PC_NAME KORVEL_PC_REQUIRES)
    configure_file(cmake/korvel.pc.in "${PROJECT_BINARY_DIR}/${KORVEL_PC_NAME}.pc" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/${KORVEL_PC_NAME}.pc"
        DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)
endfunction()

korvel_install(korvel KorvelTargets runtime)
korvel_pkg_config(korvel "")
set(KORVEL_NO_HEADERS REGEX "/Extras(\\.h)?$" EXCLUDE)
if(KORVEL_EXTRAS)
    korvel_install(korvel_extras KorvelExtrasTargets extras)
    korvel_pkg_config(korvel-extras korvel)
    set(KORVEL_NO_HEADERS)
endif()
install(DIRECTORY include/Korvel DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT development
    ${KORVEL_NO_HEADERS})

configure_package_config_file(cmake/KorvelConfig.cmake.in
    "${PROJECT_BINARY_DIR}/KorvelConfig.cmake"
    INSTALL_DESTINATION "${KORVEL_CMAKE_DIR}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/KorvelConfigVersion.cmake"
    COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/KorvelConfig.cmake"
              "${PROJECT_BINARY_DIR}/KorvelConfigVersion.cmake"
    DESTINATION "${KORVEL_CMAKE_DIR}" COMPONENT development)

# For debuggers. gdb looks for the script of a shared library below share/gdb/auto-load, at the path of
# the library. So the script is found only under the prefix of the configuration.
set(KORVEL_DEBUG_DIR "${PROJECT_SOURCE_DIR}/scripts/debug")
install(FILES "${KORVEL_DEBUG_DIR}/Korvel.natvis" "${KORVEL_DEBUG_DIR}/korvel.supp"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/korvel" COMPONENT development)
if(KORVEL_LIBRARY_TYPE STREQUAL "SHARED" AND CMAKE_SYSTEM_NAME STREQUAL "Linux")
    install(FILES "${KORVEL_DEBUG_DIR}/korvel_gdb.py"
        DESTINATION "${CMAKE_INSTALL_DATADIR}/gdb/auto-load${CMAKE_INSTALL_FULL_LIBDIR}"
        RENAME "libkorvel.so.${PROJECT_VERSION}-gdb.py" COMPONENT runtime)
else()
    install(FILES "${KORVEL_DEBUG_DIR}/korvel_gdb.py"
        DESTINATION "${CMAKE_INSTALL_DATADIR}/korvel" COMPONENT development)
endif()
