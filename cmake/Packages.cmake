# Debian packages by cpack, one for each component of Install.cmake.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME measuremath)
# Debian wants an address here; this host is reserved for documentation and takes no mail.
set(CPACK_PACKAGE_CONTACT "MeasureMath developers <measuremath@example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package's description begins with its own
set(CPACK_SET_DESTDIR ON)  # the pkg-config file and gdb's path hold the final prefix
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS OFF)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/library)

set(library_package libmeasuremath${PROJECT_VERSION_MAJOR})
set(same_version "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(about "MeasureMath turns noisy measured points into planes, lines, ellipses, rigid
transforms, tracks and curves. Fits report their residuals, estimates their
covariance.")

# Names and describes the package of `component`, and installs the documents that Debian asks of
# each package.
function(measuremath_package component name section summary text)
    string(TOUPPER ${component} key)
    set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${name} PARENT_SCOPE)
    set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${section} PARENT_SCOPE)
    set(CPACK_DEBIAN_${key}_DESCRIPTION "${summary}\n${about}\n\n${text}" PARENT_SCOPE)

    set(documents ${PROJECT_BINARY_DIR}/packaging/${name})
    configure_file(packaging/copyright ${documents}/copyright COPYONLY)
    configure_file(packaging/changelog.in ${documents}/changelog.Debian @ONLY)
    file(COPY_FILE ${PROJECT_SOURCE_DIR}/CHANGELOG.md ${documents}/changelog)
    execute_process(COMMAND gzip -9nf changelog changelog.Debian
        WORKING_DIRECTORY ${documents} COMMAND_ERROR_IS_FATAL ANY)
    install(FILES ${documents}/copyright ${documents}/changelog.gz ${documents}/changelog.Debian.gz
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} COMPONENT ${component})
endfunction()

string(TIMESTAMP package_date "%a, %d %b %Y %H:%M:%S +0000" UTC)  # SOURCE_DATE_EPOCH where set

measuremath_package(runtime ${library_package} libs
    "numerical library for measurement in three dimensions"
    "This package holds the shared library.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/triggers)
# Before 1.0 a program needs at least the version that it was built with.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

measuremath_package(development libmeasuremath-dev libdevel
    "numerical library for measurement, development files"
    "This package holds the headers, the files for CMake and pkg-config, and the
views for debuggers.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${library_package} ${same_version}, liblog4cplus-dev")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS
    "libmeasuremath-doc, libeigen3-dev, libopencv-core-dev, gdb")

measuremath_package(documentation libmeasuremath-doc doc
    "numerical library for measurement, documents and examples"
    "This package holds the manual as HTML and the sources of the examples.")
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
install(FILES packaging/doc-base DESTINATION ${CMAKE_INSTALL_DATADIR}/doc-base
    RENAME libmeasuremath-doc.measuremath COMPONENT documentation)

measuremath_package(demonstration measuremath-demo science
    "numerical library for measurement, demonstration"
    "This package holds a program that measures real data and shows the results,
with the code that made them, on one page, and the data that it measures.")
set(CPACK_DEBIAN_DEMONSTRATION_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_DEMONSTRATION_PACKAGE_DEPENDS "${library_package} ${same_version}")

if(MEASUREMATH_BUILD_PYTHON)
    measuremath_package(python python3-measuremath python
        "numerical library for measurement, Python 3 module"
        "This package holds the module for Python 3, which takes and gives numpy arrays.")
    set(CPACK_DEBIAN_PYTHON_PACKAGE_SHLIBDEPS ON)
    set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
        "${library_package} ${same_version}, python3-numpy, ${MEASUREMATH_PYTHON_DEPENDS}")
    install(FILES python/examples/demonstration.py
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/python3-measuremath/examples COMPONENT python)
endif()

include(CPack)
