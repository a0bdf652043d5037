# The core module of OpenCV alone, for the tests: OpenCV's own package configuration comes only with
# all of its modules. Defines the target OpenCVCore::OpenCVCore.

find_path(OpenCVCore_INCLUDE_DIR opencv2/core.hpp PATH_SUFFIXES opencv4)
find_library(OpenCVCore_LIBRARY opencv_core)
mark_as_advanced(OpenCVCore_INCLUDE_DIR OpenCVCore_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(OpenCVCore
    REQUIRED_VARS OpenCVCore_LIBRARY OpenCVCore_INCLUDE_DIR)

if(OpenCVCore_FOUND AND NOT TARGET OpenCVCore::OpenCVCore)
    add_library(OpenCVCore::OpenCVCore UNKNOWN IMPORTED)
    set_target_properties(OpenCVCore::OpenCVCore PROPERTIES
        IMPORTED_LOCATION ${OpenCVCore_LIBRARY}
        INTERFACE_INCLUDE_DIRECTORIES ${OpenCVCore_INCLUDE_DIR})
endif()
