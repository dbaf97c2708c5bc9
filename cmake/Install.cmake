# What `cmake --install` puts in place: tools, static libraries, headers, and the packages by which
# CMake and pkg-config find them.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

include(InstallHeaders)
include(PublicHeaders)

set(VRN_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/vrn)
set(VRN_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/vrn)

# vrn_install_libraries(INTERFACE_TARGET libraries ...), dependent libraries first.
function(vrn_install_libraries interface)
    foreach(target ${interface} ${ARGN})
        target_include_directories(${target} INTERFACE
            $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
    endforeach()
    install(TARGETS ${interface} ${ARGN} EXPORT vrnTargets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
    vrn_install_headers(${VRN_INSTALL_INCLUDEDIR} ${VRN_PUBLIC_HEADERS})
    install(EXPORT vrnTargets NAMESPACE vrn:: DESTINATION ${VRN_INSTALL_CMAKEDIR})

    list(TRANSFORM ARGN PREPEND "-l" OUTPUT_VARIABLE VRN_PC_LIBS)
    if(VRN_PARSON_IS_BUNDLED)
        # Below our own headers, so that it hides no other copy.
        install(TARGETS parson EXPORT vrnTargets ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
        install(FILES ${CMAKE_SOURCE_DIR}/third_party/parson/parson.h
            DESTINATION ${VRN_INSTALL_INCLUDEDIR}/third_party)
        list(APPEND VRN_PC_LIBS -lvrn_parson)
    else()
        list(APPEND VRN_PC_LIBS -lparson)
    endif()
    set(VRN_PC_ISAL "")
    if(ISAL_FOUND)
        set(VRN_PC_ISAL " libisal")
    endif()
    list(JOIN VRN_PC_LIBS " " VRN_PC_LIBS)

    file(RELATIVE_PATH VRN_PC_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
        ${CMAKE_INSTALL_PREFIX})
    configure_file(${CMAKE_SOURCE_DIR}/cmake/vrn.pc.in ${CMAKE_BINARY_DIR}/vrn.pc @ONLY)
    install(FILES ${CMAKE_BINARY_DIR}/vrn.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

    configure_package_config_file(${CMAKE_SOURCE_DIR}/cmake/vrnConfig.cmake.in
        ${CMAKE_BINARY_DIR}/vrnConfig.cmake INSTALL_DESTINATION ${VRN_INSTALL_CMAKEDIR})
    write_basic_package_version_file(${CMAKE_BINARY_DIR}/vrnConfigVersion.cmake
        COMPATIBILITY SameMajorVersion)
    install(FILES ${CMAKE_BINARY_DIR}/vrnConfig.cmake ${CMAKE_BINARY_DIR}/vrnConfigVersion.cmake
        DESTINATION ${VRN_INSTALL_CMAKEDIR})
endfunction()
