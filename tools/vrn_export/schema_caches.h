// The schemas of a run's files, by the folders they lie in.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "scan/schema_cache.h"

namespace vrn::exporter {

// For all threads.
class SchemaCaches {
  public:
    // `options.folder` is that of all files; when it is empty, each has the one that vrn_read would
    // find for it.
    explicit SchemaCaches(scan::SchemaLoaderOptions options) : options_(std::move(options)) {}

    std::shared_ptr<scan::SchemaCache> of_file(const std::string &path);

  private:
    static constexpr std::size_t max_folders = 64;

    scan::SchemaLoaderOptions options_;
    std::mutex mutex_;
    std::map<std::string, std::shared_ptr<scan::SchemaCache>> caches_;  // by folder
};

}  // namespace vrn::exporter
