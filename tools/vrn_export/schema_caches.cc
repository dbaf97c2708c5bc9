#include "vrn_export/schema_caches.h"

#include "scan/schema_folder.h"

namespace vrn::exporter {

std::shared_ptr<scan::SchemaCache> SchemaCaches::of_file(const std::string &path) {
    scan::SchemaLoaderOptions options = options_;
    // Outside the lock: it looks at the disk.
    options.folder = scan::schema_folder_of(path, options_.folder);
    const std::lock_guard lock(mutex_);
    // Files of one folder mostly follow each other; those at work keep their caches.
    if (caches_.size() == max_folders && !caches_.contains(options.folder)) caches_.clear();
    auto &cache = caches_[options.folder];
    if (!cache) cache = std::make_shared<scan::SchemaCache>(std::move(options));
    return cache;
}

}  // namespace vrn::exporter
