# parson: an installed one first, else the checked sources that scripts/install-deps.sh fetched.
find_path(PARSON_INCLUDE_DIR parson.h)
find_library(PARSON_LIBRARY parson)
if(PARSON_INCLUDE_DIR AND PARSON_LIBRARY)
    add_library(parson UNKNOWN IMPORTED)
    set_target_properties(parson PROPERTIES IMPORTED_LOCATION ${PARSON_LIBRARY}
        INTERFACE_INCLUDE_DIRECTORIES ${PARSON_INCLUDE_DIR})
    set(VRN_PARSON_IS_BUNDLED OFF)
elseif(EXISTS ${CMAKE_SOURCE_DIR}/third_party/parson/parson.c)
    add_library(parson STATIC ${CMAKE_SOURCE_DIR}/third_party/parson/parson.c)
    target_include_directories(parson SYSTEM PUBLIC
        $<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}/third_party/parson>
        $<INSTALL_INTERFACE:include/vrn/third_party>)
    set_target_properties(parson PROPERTIES OUTPUT_NAME vrn_parson)
    set(VRN_PARSON_IS_BUNDLED ON)
else()
    message(FATAL_ERROR "parson not found: run scripts/install-deps.sh first")
endif()
