// What is known of a data file before its records are read.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "data/data_file_header.h"
#include "scan/schema_cache.h"

namespace vrn::sql {

// Schemas that hold from an offset on.
struct SchemaChange {
    std::uint64_t offset;
    std::shared_ptr<const scan::LoadedSchemas> schemas;
};

struct FileInfo {
    std::string path;
    struct stat status {};
    std::string open_error;  // empty: it can be read
    bool is_ours = false;    // it begins as data files do
    bool has_head = false;
    bool is_compressed = false;  // as a whole
    vrn_data_file_header_t header{};
    std::string source;
    std::string tag;
    bool has_counters = false;
    bool has_metrics = false;
    bool has_all_schemas = true;
    std::shared_ptr<scan::SchemaCache> cache;
    // Of the header, and of schemas blocks that begin chunks. Of a compressed file the header's
    // alone.
    std::vector<SchemaChange> changes;
    // All that its blocks are decoded by. A schemas block counts where it begins a chunk or a page.
    std::vector<std::shared_ptr<const scan::LoadedSchemas>> schemas;
};

// Looks at each file once, as long as it doesn't change. For any thread.
class FileCatalog {
  public:
    // Schemas are in `schema_folder`; when that is empty, where vrn_read finds those of the file.
    // Throws QueryError when there is no such file, or one that can only be read once.
    std::shared_ptr<const FileInfo> get(const std::string &path, const std::string &schema_folder);

  private:
    // A bound for hosts that run for weeks over ever new files.
    static constexpr std::size_t max_kept = 100'000;

    std::shared_ptr<scan::SchemaCache> cache_of(const std::string &folder);

    std::mutex mutex_;
    std::map<std::pair<std::string, std::string>, std::shared_ptr<const FileInfo>> files_;
    std::map<std::string, std::shared_ptr<scan::SchemaCache>> caches_;  // by folder
};

}  // namespace vrn::sql
