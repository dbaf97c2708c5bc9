# Turns text files into string constants of a source file.
#
# vrn_embed_texts(OUTPUT HEADER h NAME n FILES a b ...): OUTPUT defines the `std::array` n, which
# header h declares, with the text of each file as one element; files with "|" between them are one
# text. It is written anew when a file changes.
#
# Run with -P, this file is the script that writes OUTPUT.
function(vrn_embed_texts output)
    cmake_parse_arguments(ARG "" "HEADER;NAME" "FILES" ${ARGN})
    string(REPLACE "|" ";" all_files "${ARG_FILES}")
    foreach(file IN LISTS all_files)
        if(NOT EXISTS ${file})
            message(FATAL_ERROR "${file} not found: run scripts/install-deps.sh first")
        endif()
    endforeach()
    set(script ${CMAKE_SOURCE_DIR}/cmake/EmbedText.cmake)
    add_custom_command(OUTPUT ${output}
        COMMAND ${CMAKE_COMMAND} -DOUTPUT=${output} -DHEADER=${ARG_HEADER} -DNAME=${ARG_NAME}
            "-DFILES=${ARG_FILES}" -P ${script}
        DEPENDS ${all_files} ${script}
        VERBATIM)
endfunction()

if(NOT CMAKE_SCRIPT_MODE_FILE)
    return()
endif()

string(REPEAT "." 64 line)  # hexadecimal digits of the bytes in one line
set(elements "")
foreach(text IN LISTS FILES)
    string(REPLACE "|" ";" files "${text}")
    foreach(file IN LISTS files)
        get_filename_component(name ${file} NAME)
        # All bytes are escaped: that needs no care for quotes, lines, or CMake's own separators.
        file(READ ${file} digits HEX)
        string(REGEX REPLACE "(${line})" "\\1\n" lines "${digits}")
        string(REGEX REPLACE "([0-9a-f][0-9a-f])" "\\\\x\\1" lines "${lines}")
        string(REGEX REPLACE "([^\n]+)" "    \"\\1\"" lines "${lines}")
        string(APPEND elements "    // ${name}\n${lines}\n")
    endforeach()
    string(APPEND elements "    ,\n")
endforeach()
file(WRITE ${OUTPUT} "#include \"${HEADER}\"\n\nconst decltype(${NAME}) ${NAME} = {\n${elements}};\n")
