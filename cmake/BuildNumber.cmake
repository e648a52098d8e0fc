# The number of a build is how many commits its source was made from. Empty where that can't be known:
# without git, in an unpacked archive, and in a clone that doesn't have all commits.
function(velmoran_build_number result)
    set(${result} "" PARENT_SCOPE)
    find_program(GIT git)
    if(NOT GIT OR NOT EXISTS ${CMAKE_SOURCE_DIR}/.git)
        return()
    endif()
    execute_process(COMMAND ${GIT} rev-parse --is-shallow-repository
        WORKING_DIRECTORY ${CMAKE_SOURCE_DIR} OUTPUT_VARIABLE shallow ERROR_QUIET OUTPUT_STRIP_TRAILING_WHITESPACE)
    execute_process(COMMAND ${GIT} rev-list --count HEAD
        WORKING_DIRECTORY ${CMAKE_SOURCE_DIR} OUTPUT_VARIABLE count ERROR_QUIET OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(shallow STREQUAL "false" AND count MATCHES "^[0-9]+$")
        set(${result} ${count} PARENT_SCOPE)
    endif()
endfunction()
