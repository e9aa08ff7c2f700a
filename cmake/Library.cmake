# SPDX-License-Identifier: MIT
include_guard()
include(${CMAKE_CURRENT_LIST_DIR}/Warnings.cmake)

# A shared library of this project: SONAME, exports by the linker map libNAME.map beside its CMakeLists.txt, which keeps
# the names of Boost and the standard library inside, and warnings.
function(velnm_set_library target)
    set(exports ${CMAKE_CURRENT_SOURCE_DIR}/lib${target}.map)
    set_target_properties(${target} PROPERTIES
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}
        LINK_DEPENDS ${exports})
    target_link_options(${target} PRIVATE -Wl,--version-script=${exports} -Wl,--as-needed)
    velnm_set_warnings(${target})
endfunction()
