# Debian packages of the components of cmake/Install.cmake, and an archive of all of them that runs
# from any folder: `cmake --build --preset package`.
set(CPACK_GENERATOR DEB TGZ)
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/packages)
set(CPACK_PACKAGE_NAME vrn)
set(CPACK_PACKAGE_FILE_NAME vrn-${PROJECT_VERSION}-linux-${CMAKE_SYSTEM_PROCESSOR})
set(CPACK_PACKAGE_CONTACT "Varnel data tools <data-tools@varnel.invalid>")
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL tools runtime dev)
if(VRN_HAS_DUCKDB)
    list(APPEND CPACK_COMPONENTS_ALL duckdb)
endif()
# cmake/StagePackage.cmake reads what starts with CPACK_.
set(CPACK_VRN_SOURCE_DIR ${CMAKE_SOURCE_DIR})
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_SOURCE_DIR}/cmake/PackageTime.cmake)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_SOURCE_DIR}/cmake/StagePackage.cmake)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME vrn-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SUGGESTS "vrn-duckdb, jq, slurm-client, parallel")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "tools for binary telemetry
vrn_read exports data files as JSON, text and Influx lines; the tools beside
it collect telemetry, draw it as charts, export whole archives, check and mend
files, serve a live page, and answer questions in SQL. See vrn(7).")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libvrn${VRN_SOVERSION})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
# What packages of programs that link it depend on, and the loader's cache. CPack's own way knows
# no trigger, and takes libraries of private folders for public ones.
file(WRITE ${CMAKE_BINARY_DIR}/control/shlibs
    "libvrn ${VRN_SOVERSION} libvrn${VRN_SOVERSION} (>= ${PROJECT_VERSION})\n")
file(WRITE ${CMAKE_BINARY_DIR}/control/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
    ${CMAKE_BINARY_DIR}/control/shlibs ${CMAKE_BINARY_DIR}/control/triggers)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "library for binary telemetry
libvrn reads and writes files of binary telemetry: their formats, schemas,
serializers and metrics. This package holds the shared library.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libvrn-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_SHLIBDEPS OFF)
string(CONCAT CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
    "libvrn${VRN_SOVERSION} (= ${PROJECT_VERSION}), zlib1g-dev, libsnappy-dev, libmd-dev, "
    "libdeflate-dev, libisal-dev, libboost1.81-dev, libboost-filesystem1.81-dev, libboost-date-time1.81-dev")
set(CPACK_COMPONENT_DEV_DESCRIPTION "library for binary telemetry (development files)
libvrn reads and writes files of binary telemetry: their formats, schemas,
serializers and metrics. This package holds its headers, the static library,
and what CMake and pkg-config need to find them.")

set(CPACK_DEBIAN_DUCKDB_PACKAGE_NAME vrn-duckdb)
set(CPACK_DEBIAN_DUCKDB_PACKAGE_SECTION database)
set(CPACK_DEBIAN_DUCKDB_PACKAGE_ENHANCES vrn-tools)
set(CPACK_COMPONENT_DUCKDB_DESCRIPTION "files of binary telemetry as tables of DuckDB
An extension by which DuckDB reads files of binary telemetry as tables, and
the engine of DuckDB itself. vrn_sql of the package vrn-tools needs both.")

include(CPack)

# Not CPack's own target, which builds the tests, too.
add_custom_target(packages
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${CPACK_PACKAGE_DIRECTORY}
    # The members of a package have the permissions that the umask leaves them.
    COMMAND sh -c "umask 022 && exec \"$@\"" -
        ${CMAKE_CPACK_COMMAND} --config ${CMAKE_BINARY_DIR}/CPackConfig.cmake
    COMMENT "Making packages" VERBATIM)
add_dependencies(packages vrn_installed)
