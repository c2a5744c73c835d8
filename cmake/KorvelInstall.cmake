set(KORVEL_CMAKE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/Korvel")

install(TARGETS korvel EXPORT KorvelTargets
    RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}")
install(DIRECTORY include/Korvel DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
install(EXPORT KorvelTargets NAMESPACE Korvel:: DESTINATION "${KORVEL_CMAKE_DIR}")

configure_package_config_file(cmake/KorvelConfig.cmake.in
    "${PROJECT_BINARY_DIR}/KorvelConfig.cmake"
    INSTALL_DESTINATION "${KORVEL_CMAKE_DIR}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/KorvelConfigVersion.cmake"
    COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/KorvelConfig.cmake"
              "${PROJECT_BINARY_DIR}/KorvelConfigVersion.cmake"
    DESTINATION "${KORVEL_CMAKE_DIR}")
