# MINPACK in C. Defines the target Cminpack::Cminpack. Installed with the package: a static
# MeasureMath needs it again.

find_package(PkgConfig QUIET)
if(PkgConfig_FOUND)
    pkg_check_modules(PC_CMINPACK QUIET cminpack)
endif()
find_path(Cminpack_INCLUDE_DIR cminpack.h
    HINTS ${PC_CMINPACK_INCLUDE_DIRS} PATH_SUFFIXES cminpack-1 cminpack)
find_library(Cminpack_LIBRARY cminpack HINTS ${PC_CMINPACK_LIBRARY_DIRS})
mark_as_advanced(Cminpack_INCLUDE_DIR Cminpack_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Cminpack REQUIRED_VARS Cminpack_LIBRARY Cminpack_INCLUDE_DIR)

if(Cminpack_FOUND AND NOT TARGET Cminpack::Cminpack)
    add_library(Cminpack::Cminpack UNKNOWN IMPORTED)
    set_target_properties(Cminpack::Cminpack PROPERTIES
        IMPORTED_LOCATION ${Cminpack_LIBRARY}
        INTERFACE_INCLUDE_DIRECTORIES ${Cminpack_INCLUDE_DIR})
endif()
