# vrn_add_library(NAME SOURCES a.cc ... DEPENDS targets ...)
# One static library per subsystem; headers are included as "folder/file.h" from src/.
function(vrn_add_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS" ${ARGN})
    add_library(${name} STATIC ${ARG_SOURCES})
    target_include_directories(${name} PUBLIC $<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}/src>)
    target_link_libraries(${name} PUBLIC ${ARG_DEPENDS} PRIVATE $<BUILD_INTERFACE:vrn_warnings>)
endfunction()
