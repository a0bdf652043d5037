# What is installed, in the components runtime, development, documentation, demonstration, python.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(header_dir ${CMAKE_INSTALL_INCLUDEDIR}/measuremath)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/MeasureMath)

install(TARGETS measuremath EXPORT MeasureMathTargets
    LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE COMPONENT development
    FILE_SET HEADERS DESTINATION ${header_dir} COMPONENT development
    INCLUDES DESTINATION ${header_dir})
install(EXPORT MeasureMathTargets NAMESPACE MeasureMath:: DESTINATION ${package_dir}
    COMPONENT development)

configure_package_config_file(
    cmake/MeasureMathConfig.cmake.in ${PROJECT_BINARY_DIR}/MeasureMathConfig.cmake
    INSTALL_DESTINATION ${package_dir})
# Before 1.0 a new minor version may break its users.
write_basic_package_version_file(
    ${PROJECT_BINARY_DIR}/MeasureMathConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/MeasureMathConfig.cmake
    ${PROJECT_BINARY_DIR}/MeasureMathConfigVersion.cmake
    DESTINATION ${package_dir} COMPONENT development)
if(NOT BUILD_SHARED_LIBS)
    install(FILES cmake/FindCminpack.cmake DESTINATION ${package_dir} COMPONENT development)
endif()

if(BUILD_SHARED_LIBS)
    set(pc_requires "Requires: log4cplus\nRequires.private: cminpack lapack blas")
else()  # every program links them; --static would add what only their own static forms need
    set(pc_requires "Requires: log4cplus cminpack lapack blas")
endif()
configure_file(cmake/measuremath.pc.in ${PROJECT_BINARY_DIR}/measuremath.pc.configured @ONLY)
# The prefix is known only at install time (cmake --install --prefix).
install(CODE "
    file(READ \"${PROJECT_BINARY_DIR}/measuremath.pc.configured\" pc)
    string(REPLACE \"<prefix>\" \"\${CMAKE_INSTALL_PREFIX}\" pc \"\${pc}\")
    file(WRITE \"${PROJECT_BINARY_DIR}/measuremath.pc\" \"\${pc}\")"
    COMPONENT development)
install(FILES ${PROJECT_BINARY_DIR}/measuremath.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

set(debugger_files debugger/measuremath.natvis)
if(NOT MEASUREMATH_PACKAGES)  # there gdb finds the one below by itself
    list(APPEND debugger_files debugger/measuremath-gdb.py)
endif()
install(FILES ${debugger_files}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/measuremath/debugger COMPONENT development)
if(BUILD_SHARED_LIBS)
    # gdb looks for <its data directory>/auto-load/<path of the library>-gdb.py; again, the prefix is
    # known only at install time.
    install(FILES debugger/measuremath-gdb.py
        DESTINATION ${CMAKE_INSTALL_DATADIR}/gdb/auto-load\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}
        RENAME $<TARGET_FILE_NAME:measuremath>-gdb.py COMPONENT development)
endif()

install(FILES README.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation)
install(DIRECTORY ${PROJECT_BINARY_DIR}/docs/html DESTINATION ${CMAKE_INSTALL_DOCDIR}
    COMPONENT documentation OPTIONAL)
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation
    PATTERN CMakeLists.txt EXCLUDE)  # part of this build

if(MEASUREMATH_BUILD_EXAMPLES)
    install(TARGETS measuremath-demo RUNTIME COMPONENT demonstration)
    set(manual ${PROJECT_SOURCE_DIR}/packaging/measuremath-demo.1)
    if(MEASUREMATH_PACKAGES)  # Debian asks for compressed ones
        file(COPY ${manual} DESTINATION ${PROJECT_BINARY_DIR}/packaging)
        execute_process(COMMAND gzip -9nf measuremath-demo.1
            WORKING_DIRECTORY ${PROJECT_BINARY_DIR}/packaging COMMAND_ERROR_IS_FATAL ANY)
        set(manual ${PROJECT_BINARY_DIR}/packaging/measuremath-demo.1.gz)
    endif()
    install(FILES ${manual} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT demonstration)
    install(DIRECTORY data/ DESTINATION ${CMAKE_INSTALL_DATADIR}/measuremath/data
        COMPONENT demonstration FILES_MATCHING PATTERN *.csv PATTERN README.md)
endif()

if(MEASUREMATH_BUILD_PYTHON)
    install(TARGETS measuremath-python LIBRARY DESTINATION ${MEASUREMATH_PYTHON_DIR} COMPONENT python)
    if(BUILD_SHARED_LIBS AND NOT MEASUREMATH_PACKAGES)
        file(RELATIVE_PATH libraries_from_module
            ${CMAKE_INSTALL_PREFIX}/${MEASUREMATH_PYTHON_DIR} ${CMAKE_INSTALL_FULL_LIBDIR})
        set_target_properties(measuremath-python PROPERTIES
            INSTALL_RPATH $ORIGIN/${libraries_from_module})
    endif()
endif()

if(MEASUREMATH_PACKAGES)
    include(Packages)
else()
    install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
endif()
