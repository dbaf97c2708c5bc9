# What `cmake --install` puts in place, by component: `tools` (also what names none), `runtime` (the
# shared library), `dev` (headers, libraries to link, the packages by which CMake and pkg-config find
# them) and `duckdb` (the extension and DuckDB's engine).
set(CMAKE_INSTALL_DOCDIR share/doc/vrn-tools)
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# The notices of what is linked, or written into pages.
install(FILES ${CMAKE_SOURCE_DIR}/packaging/copyright
    DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT tools)

include(InstallHeaders)
include(PublicHeaders)

set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME tools)
set(VRN_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/vrn)
set(VRN_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/vrn)
set(VRN_INSTALL_PLUGINDIR ${CMAKE_INSTALL_LIBDIR}/vrn)

# vrn_outside_libraries(OUTPUT libraries ...): the libraries of others that ours are linked with.
function(vrn_outside_libraries output)
    set(outside "")
    foreach(library IN LISTS ARGN)
        get_target_property(linked ${library} LINK_LIBRARIES)
        list(APPEND outside ${linked})
    endforeach()
    list(REMOVE_DUPLICATES outside)
    list(FILTER outside EXCLUDE REGEX "^vrn_|BUILD_INTERFACE")
    if(VRN_PARSON_IS_BUNDLED)
        list(REMOVE_ITEM outside parson)
    endif()
    set(${output} ${outside} PARENT_SCOPE)
endfunction()

# vrn_install_libraries(libraries ...), dependent libraries first: one static and one shared library
# of all of them, and what programs need to find these.
function(vrn_install_libraries)
    set(objects ${ARGN})
    if(VRN_PARSON_IS_BUNDLED)
        list(APPEND objects parson)
        # Below our own headers, so that it hides no other copy.
        install(FILES ${CMAKE_SOURCE_DIR}/third_party/parson/parson.h
            DESTINATION ${VRN_INSTALL_INCLUDEDIR}/third_party COMPONENT dev)
    endif()
    list(TRANSFORM objects REPLACE "(.+)" "$<TARGET_OBJECTS:\\1>")

    vrn_outside_libraries(outside ${ARGN})
    add_library(vrn_static STATIC ${objects})
    target_link_libraries(vrn_static INTERFACE ${outside})

    # Boost's archives, which the programs take, aren't made for shared libraries.
    list(TRANSFORM outside REPLACE "^Boost::(filesystem|date_time)$" "boost_\\1")
    set(map ${CMAKE_SOURCE_DIR}/src/libvrn.map)
    add_library(vrn_shared SHARED ${objects})
    target_link_directories(vrn_shared PRIVATE $<TARGET_FILE_DIR:Boost::filesystem>)
    target_link_libraries(vrn_shared PRIVATE ${outside} INTERFACE Boost::headers ZLIB::ZLIB)
    target_link_options(vrn_shared PRIVATE
        LINKER:--version-script=${map},-Bsymbolic-functions,--as-needed$<$<CONFIG:Release>:,-z,defs>)
    set_target_properties(vrn_shared PROPERTIES
        VERSION ${PROJECT_VERSION} SOVERSION ${VRN_SOVERSION} LINK_DEPENDS ${map})

    foreach(kind static shared)
        set_target_properties(vrn_${kind} PROPERTIES OUTPUT_NAME vrn EXPORT_NAME ${kind})
        target_include_directories(vrn_${kind} INTERFACE
            $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>
            $<INSTALL_INTERFACE:${VRN_INSTALL_INCLUDEDIR}/third_party>)
    endforeach()
    install(TARGETS vrn_static vrn_shared EXPORT vrnTargets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev)
    vrn_install_headers(${VRN_INSTALL_INCLUDEDIR} ${VRN_PUBLIC_HEADERS})
    install(EXPORT vrnTargets NAMESPACE vrn:: DESTINATION ${VRN_INSTALL_CMAKEDIR} COMPONENT dev)

    file(RELATIVE_PATH VRN_PC_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
        ${CMAKE_INSTALL_PREFIX})
    set(VRN_PC_ISAL "")
    if(ISAL_FOUND)
        set(VRN_PC_ISAL " libisal")
    endif()
    configure_file(${CMAKE_SOURCE_DIR}/cmake/vrn.pc.in ${CMAKE_BINARY_DIR}/vrn.pc @ONLY)
    install(FILES ${CMAKE_BINARY_DIR}/vrn.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)

    configure_package_config_file(${CMAKE_SOURCE_DIR}/cmake/vrnConfig.cmake.in
        ${CMAKE_BINARY_DIR}/vrnConfig.cmake INSTALL_DESTINATION ${VRN_INSTALL_CMAKEDIR})
    write_basic_package_version_file(${CMAKE_BINARY_DIR}/vrnConfigVersion.cmake
        COMPATIBILITY SameMajorVersion)
    install(FILES ${CMAKE_BINARY_DIR}/vrnConfig.cmake ${CMAKE_BINARY_DIR}/vrnConfigVersion.cmake
        DESTINATION ${VRN_INSTALL_CMAKEDIR} COMPONENT dev)
endfunction()
