# SPDX-License-Identifier: MIT
include_guard()
include(CheckIPOSupported)
include(${CMAKE_CURRENT_LIST_DIR}/Warnings.cmake)

check_ipo_supported(RESULT velnm_has_lto LANGUAGES CXX)

# Times beyond 2038 and inode numbers beyond 32 bits on 32-bit targets. No installed header depends on it.
add_compile_definitions(_FILE_OFFSET_BITS=64 _TIME_BITS=64)

# A shared library of this project: SONAME, exports by the linker map libNAME.map beside its CMakeLists.txt, which keeps
# the names of Boost and the standard library inside, warnings, and link-time optimisation, which makes it a quarter
# smaller.
function(velnm_set_library target)
    set(exports ${CMAKE_CURRENT_SOURCE_DIR}/lib${target}.map)
    set_target_properties(${target} PROPERTIES
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}
        LINK_DEPENDS ${exports}
        INTERPROCEDURAL_OPTIMIZATION_RELEASE ${velnm_has_lto}
        INTERPROCEDURAL_OPTIMIZATION_RELWITHDEBINFO ${velnm_has_lto}
        INTERPROCEDURAL_OPTIMIZATION_MINSIZEREL ${velnm_has_lto})
    target_link_options(${target} PRIVATE -Wl,--version-script=${exports} -Wl,--as-needed)
    velnm_set_warnings(${target})
endfunction()
