# SPDX-License-Identifier: MIT
include_guard()

# The warnings that the project's own code is clean under.
function(velnm_set_warnings target)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
        $<$<BOOL:${VELNM_WARNINGS_AS_ERRORS}>:-Werror>)
endfunction()
