#include "scan/schema_cache.h"

#include <algorithm>

namespace vrn::scan {

std::shared_ptr<const LoadedSchemas> SchemaCache::get(const SchemaIds &ids) {
    // Held over a load: threads that name the same schemas wait for one load instead of making
    // their own.
    const std::lock_guard lock(mutex_);
    const auto found =
        std::ranges::find_if(kept_, [&](const auto &schemas) { return schemas->ids == ids; });
    if (found != kept_.end()) {
        std::rotate(found, found + 1, kept_.end());
        return kept_.back();
    }
    std::shared_ptr<const LoadedSchemas> schemas = loader_.load(ids);
    // What has something to tell is told for each file that names it.
    if (!loader_.may_keep(*schemas)) return schemas;
    // Who still decodes by the oldest keeps it alive.
    if (kept_.size() == max_kept) kept_.erase(kept_.begin());
    kept_.push_back(schemas);
    return schemas;
}

}  // namespace vrn::scan
