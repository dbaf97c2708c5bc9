# Programs that are started for one file, often, carry the C++ runtime and the libraries that would
# load it: as shared libraries these take longer to load than such a run.
#
# vrn_static_runtime(programs ...)
find_library(VRN_SNAPPY_ARCHIVE libsnappy.a)
function(vrn_static_runtime)
    if(NOT VRN_SNAPPY_ARCHIVE)
        return()
    endif()
    foreach(program IN LISTS ARGN)
        # Whole and in front of all else, so that nothing is left for the shared snappy to define.
        target_link_options(${program} PRIVATE "$<$<CONFIG:Release>:-static-libstdc++;-static-libgcc\
;LINKER:--gc-sections,--as-needed,--whole-archive,${VRN_SNAPPY_ARCHIVE},--no-whole-archive>")
    endforeach()
endfunction()
