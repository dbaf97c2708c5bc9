# Run at each build: writes OUTPUT with what vrn_version.h declares, only when it changed, so that a
# rebuild of the same commit on the same day relinks nothing. With DATE_OF_COMMIT the build's date is
# the commit's, so that all builds of one commit are alike; SOURCE_DATE_EPOCH wins over both.
function(ask_git output)
    execute_process(COMMAND git -c safe.directory=* -C ${SOURCE_DIR} ${ARGN}
        OUTPUT_VARIABLE answer OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    set(${output} "${answer}" PARENT_SCOPE)
endfunction()

# Sources out of an archive may lie inside another project's checkout, whose commits aren't ours.
set(commit "")
ask_git(top rev-parse --show-toplevel)
file(REAL_PATH ${SOURCE_DIR} source)
if(top STREQUAL source)
    ask_git(commit rev-parse --short=12 HEAD)
    ask_git(changes status --porcelain --untracked-files=no)
    if(NOT changes STREQUAL "")
        string(APPEND commit "+dirty")
    endif()
    if(DATE_OF_COMMIT AND "$ENV{SOURCE_DATE_EPOCH}" STREQUAL "")
        ask_git(seconds log -1 --format=%ct)
        set(ENV{SOURCE_DATE_EPOCH} "${seconds}")
    endif()
endif()
string(TIMESTAMP date "%Y-%m-%d" UTC)
set(number "$ENV{VRN_BUILD_NUMBER}")
if(number STREQUAL "")
    set(number 0)
endif()
set(named_commit "${commit}")
if(commit STREQUAL "")
    set(named_commit "unknown")
endif()
set(text "#include \"vrn_version.h\"\n
const char vrn_build_commit[] = \"${commit}\";
const char vrn_build_info[] =
    \"build time: ${date}\\n\"
    \"varnel: ${VERSION} build ${number} commit ${named_commit}\";\n")
set(old "")
if(EXISTS ${OUTPUT})
    file(READ ${OUTPUT} old)
endif()
if(NOT text STREQUAL old)
    file(WRITE ${OUTPUT} "${text}")
endif()
