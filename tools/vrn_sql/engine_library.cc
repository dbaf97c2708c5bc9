#include "vrn_sql/engine_library.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>

// Of the tool alone. The extension has a table of its own, which the engine fills.
duckdb_ext_api_v1 duckdb_ext_api{};

namespace vrn::sqltool {
namespace {

constexpr char library_name[] = "libduckdb.so";

void *open_library() {
    // A library that is named and doesn't open is an error: another in its place would surprise.
    if (const char *named = std::getenv("VRN_DUCKDB_LIBRARY")) {
        if (void *library = dlopen(named, RTLD_NOW | RTLD_LOCAL)) return library;
        throw std::runtime_error(std::string("VRN_DUCKDB_LIBRARY: ") + dlerror());
    }
    for (const std::string &path : {program_file(library_name), std::string(library_name)})
        if (void *library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) return library;
    throw std::runtime_error(
        "there is no libduckdb.so beside this program or in the system's folders. The package "
        "vrn-duckdb holds one, as do the npm package @duckdb/node-bindings-linux-x64 (or -arm64) "
        "and DuckDB's releases: install it, or name the file in VRN_DUCKDB_LIBRARY");
}

template <typename Function>
void resolve(void *library, const char *name, Function *function) {
    // All at the start, so that a library too old fails before a query, not in it.
    void *found = dlsym(library, name);
    if (!found) throw std::runtime_error(std::string("libduckdb.so lacks ") + name);
    std::memcpy(function, &found, sizeof found);
}

}  // namespace

std::string program_file(const std::string &name) {
    std::error_code error;
    // Not by argv[0], which a caller chooses.
    const auto folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    const auto beside = folder / name;
    return access(beside.c_str(), R_OK) == 0 ? beside : folder / VRN_EXTENSION_FOLDER / name;
}

void open_engine_library() {
    // Never closed: the engine's threads may run until the process ends.
    void *library = open_library();
// Each name of a function is a macro for its place in the table.
#define VRN_RESOLVE(name) resolve(library, #name, &(name))
    VRN_RESOLVE(duckdb_open_ext);
    VRN_RESOLVE(duckdb_close);
    VRN_RESOLVE(duckdb_connect);
    VRN_RESOLVE(duckdb_disconnect);
    VRN_RESOLVE(duckdb_interrupt);
    VRN_RESOLVE(duckdb_create_config);
    VRN_RESOLVE(duckdb_set_config);
    VRN_RESOLVE(duckdb_destroy_config);
    VRN_RESOLVE(duckdb_query);
    VRN_RESOLVE(duckdb_destroy_result);
    VRN_RESOLVE(duckdb_result_error);
    VRN_RESOLVE(duckdb_column_count);
    VRN_RESOLVE(duckdb_column_name);
    VRN_RESOLVE(duckdb_column_type);
    VRN_RESOLVE(duckdb_fetch_chunk);
    VRN_RESOLVE(duckdb_destroy_data_chunk);
    VRN_RESOLVE(duckdb_data_chunk_get_size);
    VRN_RESOLVE(duckdb_data_chunk_get_vector);
    VRN_RESOLVE(duckdb_vector_get_data);
    VRN_RESOLVE(duckdb_vector_get_validity);
    VRN_RESOLVE(duckdb_string_t_length);
    VRN_RESOLVE(duckdb_string_t_data);
    VRN_RESOLVE(duckdb_prepare);
    VRN_RESOLVE(duckdb_prepare_error);
    VRN_RESOLVE(duckdb_destroy_prepare);
    VRN_RESOLVE(duckdb_prepared_statement_type);
    VRN_RESOLVE(duckdb_free);
#undef VRN_RESOLVE
}

}  // namespace vrn::sqltool
