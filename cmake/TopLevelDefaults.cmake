# What a project that includes this one decides for itself.

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Debug, Release, RelWithDebInfo or MinSizeRel" FORCE)
endif()

find_program(MEASUREMATH_CCACHE ccache)
mark_as_advanced(MEASUREMATH_CCACHE)
if(MEASUREMATH_CCACHE AND NOT DEFINED CMAKE_CXX_COMPILER_LAUNCHER)
    # The sloppiness is what ccache asks for before it caches precompiled headers.
    set(CMAKE_CXX_COMPILER_LAUNCHER
        ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime
        ${MEASUREMATH_CCACHE})
endif()
