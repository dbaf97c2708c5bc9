# DuckDB's C headers, which scripts/install-deps.sh fetches. The engine itself is loaded at run time.
# Sets VRN_HAS_DUCKDB, VRN_DUCKDB_INCLUDE_DIR, VRN_DUCKDB_PLATFORM, and VRN_DUCKDB_LIBRARY where the
# npm packages have the engine.
set(VRN_DUCKDB_INCLUDE_DIR ${CMAKE_SOURCE_DIR}/third_party/duckdb)
set(VRN_HAS_DUCKDB OFF)
find_package(PkgConfig)
if(PkgConfig_FOUND)
    pkg_check_modules(libedit IMPORTED_TARGET libedit)
endif()
if(EXISTS ${VRN_DUCKDB_INCLUDE_DIR}/duckdb_extension.h AND libedit_FOUND)
    set(VRN_HAS_DUCKDB ON)
else()
    message(STATUS "No headers of DuckDB or no libedit: vrn_sql and its extension are left out")
endif()
if(CMAKE_SYSTEM_PROCESSOR MATCHES "aarch64|arm64")
    set(VRN_DUCKDB_PLATFORM linux_arm64)
    set(node_platform linux-arm64)
else()
    set(VRN_DUCKDB_PLATFORM linux_amd64)
    set(node_platform linux-x64)
endif()
set(VRN_DUCKDB_LIBRARY
    ${CMAKE_SOURCE_DIR}/node_modules/@duckdb/node-bindings-${node_platform}/libduckdb.so)
