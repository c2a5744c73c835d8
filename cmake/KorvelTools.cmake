# SPDX-FileCopyrightText: 2026 The Korvel authors
# SPDX-License-Identifier: MIT

# Installs the examples that are tools, as the component tools: the programs, a man page for each, made
# from its --help, bash completion, and the log format for lnav.

find_program(HELP2MAN help2man)
find_program(GZIP gzip)
if(NOT HELP2MAN OR NOT GZIP)
    message(STATUS "help2man or gzip is missing: the tools have no man pages")
endif()

# korvel_tool(TARGET SENTENCE): the man page has the sentence under NAME.
function(korvel_tool target sentence)
    if(NOT TARGET ${target})
        return()
    endif()
    get_target_property(name ${target} OUTPUT_NAME)
    if(NOT name)
        set(name ${target})
    endif()
    install(TARGETS ${target} RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT tools)

    set(completion "${PROJECT_BINARY_DIR}/completions/${name}")
    file(WRITE "${completion}" "# The options are those of --help.\ncomplete -F _longopt ${name}\n")
    install(FILES "${completion}" DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions"
        COMPONENT tools)

    if(HELP2MAN AND GZIP)
        set(page "${PROJECT_BINARY_DIR}/${name}.1")
        add_custom_command(OUTPUT "${page}.gz"
            COMMAND "${HELP2MAN}" --no-info "--name=${sentence}"
                "--version-string=${PROJECT_VERSION}" "--output=${page}" "$<TARGET_FILE:${target}>"
            COMMAND "${GZIP}" -9nf "${page}"
            DEPENDS ${target} VERBATIM)
        add_custom_target(man_${target} ALL DEPENDS "${page}.gz")
        add_dependencies(tools man_${target})
        install(FILES "${page}.gz" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT tools)
    endif()
    add_dependencies(tools ${target})
endfunction()

add_custom_target(tools)
korvel_tool(korvel_check "verify logs and staging directories of Korvel")
korvel_tool(loggly_upload "send staging files of Korvel to a log service")
korvel_tool(http_upload "send staging files of Korvel to an HTTP service")
install(FILES "${PROJECT_SOURCE_DIR}/examples/viewing/korvel.lnav.json"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/korvel" COMPONENT tools)
