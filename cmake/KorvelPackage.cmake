# SPDX-FileCopyrightText: 2026 The Korvel authors
# SPDX-License-Identifier: MIT

# Debian packages by CPack: libkorvel0 and libkorvel-extras0 with the shared libraries, libkorvel-dev
# with the rest, korvel-tools if the examples are built, and korvel-doc if KORVEL_SITE names the
# directory that scripts/docs built.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME korvel)
set(CPACK_PACKAGE_VENDOR "The Korvel authors")
set(KORVEL_MAIL korvel@example.org)
set(CPACK_PACKAGE_CONTACT "The Korvel authors <${KORVEL_MAIL}>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "structured logging library")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime extras development)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)

file(WRITE "${PROJECT_BINARY_DIR}/triggers" "activate-noawait ldconfig\n")
foreach(component RUNTIME EXTRAS)
    set(CPACK_DEBIAN_${component}_PACKAGE_SECTION libs)
    set(CPACK_DEBIAN_${component}_PACKAGE_SHLIBDEPS ON)
    set(CPACK_DEBIAN_${component}_PACKAGE_CONTROL_EXTRA "${PROJECT_BINARY_DIR}/triggers")
endforeach()
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME "libkorvel${PROJECT_VERSION_MAJOR}")
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
"Entries are values shaped like JSON. A thread that logs only queues them,
and a worker thread delivers them in order to consoles and files.")
set(CPACK_DEBIAN_EXTRAS_PACKAGE_NAME "libkorvel-extras${PROJECT_VERSION_MAJOR}")
set(CPACK_DEBIAN_EXTRAS_DESCRIPTION
"Severities, context, conversions, rotated files, limits and a safe way to
start, on top of Korvel.")
set(CPACK_COMPONENT_EXTRAS_DEPENDS runtime)
# Where dpkg-shlibdeps finds the library of the other package.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libkorvel-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "libkorvel${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION}), libkorvel-extras${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
"Development files: the headers of Korvel, its CMake package and its file for
pkg-config.")
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime extras)

set(KORVEL_SITE "" CACHE PATH "The site for the package korvel-doc")
if(KORVEL_SITE)
    list(APPEND CPACK_COMPONENTS_ALL doc)
    install(DIRECTORY "${KORVEL_SITE}/" DESTINATION share/doc/korvel-doc/html COMPONENT doc
        PATTERN "*.md5" EXCLUDE)
    install(FILES "${PROJECT_SOURCE_DIR}/cmake/korvel-doc.doc-base" DESTINATION share/doc-base
        RENAME korvel-doc.korvel COMPONENT doc)
    set(CPACK_DEBIAN_DOC_PACKAGE_NAME korvel-doc)
    set(CPACK_DEBIAN_DOC_PACKAGE_SECTION doc)
    set(CPACK_DEBIAN_DOC_PACKAGE_ARCHITECTURE all)
    set(CPACK_DEBIAN_DOC_DESCRIPTION
"The pages of Korvel and the reference of its headers, as a site to browse.")
endif()
if(TARGET tools)
    list(APPEND CPACK_COMPONENTS_ALL tools)
    set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME korvel-tools)
    set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
    set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
    set(CPACK_DEBIAN_TOOLS_PACKAGE_SUGGESTS "bash-completion, lnav")
    set(CPACK_DEBIAN_TOOLS_DESCRIPTION
"Programs that verify logs and staging directories of Korvel and send them to
a log service, and a log format for lnav.")
    set(CPACK_COMPONENT_TOOLS_DEPENDS runtime)
endif()

# The files that Debian requires in every package.
file(COPY_FILE "${PROJECT_SOURCE_DIR}/LICENSES/MIT.txt" "${PROJECT_BINARY_DIR}/copyright")
configure_file(cmake/debian-changelog.in "${PROJECT_BINARY_DIR}/changelog" @ONLY)
find_program(GZIP gzip REQUIRED)
execute_process(COMMAND "${GZIP}" -9nc "${PROJECT_BINARY_DIR}/changelog"
    OUTPUT_FILE "${PROJECT_BINARY_DIR}/changelog.gz" COMMAND_ERROR_IS_FATAL ANY)
foreach(component ${CPACK_COMPONENTS_ALL})
    string(TOUPPER ${component} upper)
    install(FILES "${PROJECT_BINARY_DIR}/copyright" "${PROJECT_BINARY_DIR}/changelog.gz"
        DESTINATION "share/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME}" COMPONENT ${component})
endforeach()

include(CPack)
