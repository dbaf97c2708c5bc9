#include "series/schema_folders.h"

#include "scan/schema_folder.h"

namespace vrn::series {

SchemaFolder *SchemaFolders::of_file(const std::string &path) {
    const std::string folder = scan::schema_folder_of(path, options_->schema_folder);
    std::unique_ptr<SchemaFolder> &known = folders_[folder];
    if (!known) {
        const scan::SchemaLoaderOptions options = {.folder = folder, .take_what_loads = true};
        // Braces, as clang 14 makes no aggregate from parentheses, which rules out make_unique.
        known = std::unique_ptr<SchemaFolder>(new SchemaFolder{scan::SchemaCache(options), {}});
        if (options_->use_metadata) known->metadata.reset(vrn_metadata_load(folder.c_str()));
    }
    return known.get();
}

}  // namespace vrn::series
