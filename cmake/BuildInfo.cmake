# Run at each build: writes OUTPUT with the text of vrn_build_info, only when it changed, so that
# a rebuild of the same commit on the same day relinks nothing.
string(TIMESTAMP today "%Y-%m-%d" UTC)
execute_process(COMMAND git -C ${SOURCE_DIR} rev-parse --short=12 HEAD
    OUTPUT_VARIABLE commit OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET RESULT_VARIABLE failed)
if(failed)
    set(commit "unknown")
endif()
set(number "$ENV{VRN_BUILD_NUMBER}")
if(number STREQUAL "")
    set(number 0)
endif()
set(text "#include \"vrn_version.h\"\n
const char vrn_build_info[] =
    \"build time: ${today}\\n\"
    \"varnel: ${VERSION} build ${number} commit ${commit}\";\n")
set(old "")
if(EXISTS ${OUTPUT})
    file(READ ${OUTPUT} old)
endif()
if(NOT text STREQUAL old)
    file(WRITE ${OUTPUT} "${text}")
endif()
