# Installs the public headers: vrn_install_headers(DESTINATION headers ...), paths below src/.
#
# Run with -P at install time, this file copies HEADERS from SOURCE_DIR to OUTPUT_DIR. Our own
# includes, which name files from src/ in quotes, become <vrn/...> there, so that a program needs no
# include path but that of the prefix and meets no name of ours outside of it.
function(vrn_install_headers destination)
    set(script ${CMAKE_SOURCE_DIR}/cmake/InstallHeaders.cmake)
    install(CODE "
        execute_process(
            COMMAND \${CMAKE_COMMAND} \"-DHEADERS=${ARGN}\" \"-DSOURCE_DIR=${CMAKE_SOURCE_DIR}/src\"
                \"-DOUTPUT_DIR=\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${destination}\" -P \"${script}\"
            COMMAND_ERROR_IS_FATAL ANY)" COMPONENT dev)
endfunction()

if(NOT CMAKE_SCRIPT_MODE_FILE)
    return()
endif()

foreach(header IN LISTS HEADERS)
    file(READ ${SOURCE_DIR}/${header} text)
    string(REGEX REPLACE "#include \"([^\"]+)\"" "#include <vrn/\\1>" text "${text}")
    file(WRITE ${OUTPUT_DIR}/${header} "${text}")
    file(CHMOD ${OUTPUT_DIR}/${header} FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
endforeach()
