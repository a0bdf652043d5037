# The source root as the compiler sees it: absolute, or relative where ccache rewrites paths.
cmake_path(RELATIVE_PATH PROJECT_SOURCE_DIR BASE_DIRECTORY ${CMAKE_BINARY_DIR}
    OUTPUT_VARIABLE MEASUREMATH_SOURCE_FROM_BUILD)

# Language level, warnings and recorded paths of every target of this project.
function(measuremath_target_defaults target)
    target_compile_features(${target} PRIVATE cxx_std_20)
    set_target_properties(${target} PROPERTIES
        CXX_EXTENSIONS OFF
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON)
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wcast-qual
        # clang counts it to -Wconversion, g++ does not: sizes of the library are int by promise.
        $<$<CXX_COMPILER_ID:Clang>:-Wno-sign-conversion>
        -Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual -Wundef -Wvla
        # Errors and logs name files relative to the source root, whatever machine built them.
        -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=
        -ffile-prefix-map=${MEASUREMATH_SOURCE_FROM_BUILD}/=)
endfunction()
