include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(header_dir ${CMAKE_INSTALL_INCLUDEDIR}/measuremath)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/MeasureMath)

install(TARGETS measuremath EXPORT MeasureMathTargets
    FILE_SET HEADERS DESTINATION ${header_dir}
    INCLUDES DESTINATION ${header_dir})
install(EXPORT MeasureMathTargets NAMESPACE MeasureMath:: DESTINATION ${package_dir})

configure_package_config_file(
    cmake/MeasureMathConfig.cmake.in ${PROJECT_BINARY_DIR}/MeasureMathConfig.cmake
    INSTALL_DESTINATION ${package_dir})
# Before 1.0 a new minor version may break its users.
write_basic_package_version_file(
    ${PROJECT_BINARY_DIR}/MeasureMathConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/MeasureMathConfig.cmake
    ${PROJECT_BINARY_DIR}/MeasureMathConfigVersion.cmake
    cmake/FindCminpack.cmake
    DESTINATION ${package_dir})

configure_file(cmake/measuremath.pc.in ${PROJECT_BINARY_DIR}/measuremath.pc.configured @ONLY)
# The prefix is known only at install time (cmake --install --prefix).
install(CODE "
    file(READ \"${PROJECT_BINARY_DIR}/measuremath.pc.configured\" pc)
    string(REPLACE \"<prefix>\" \"\${CMAKE_INSTALL_PREFIX}\" pc \"\${pc}\")
    file(WRITE \"${PROJECT_BINARY_DIR}/measuremath.pc\" \"\${pc}\")")
install(FILES ${PROJECT_BINARY_DIR}/measuremath.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
