# Read by CPack before it packs: all files get the time of the commit, so that two builds of it are
# the same bytes.
if("$ENV{SOURCE_DATE_EPOCH}" STREQUAL "")
    execute_process(COMMAND git -c safe.directory=* -C ${CPACK_VRN_SOURCE_DIR} log -1 --format=%ct
        OUTPUT_VARIABLE seconds OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    if(seconds STREQUAL "")
        string(TIMESTAMP seconds "%s" UTC)
    endif()
    set(ENV{SOURCE_DATE_EPOCH} ${seconds})
endif()
