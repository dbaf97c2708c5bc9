// The schemas that a run has loaded.
#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "scan/schema_loader.h"

namespace vrn::scan {

// Keeps the loads that were used last and may be kept, so that files and schemas blocks that name
// the same schemas cost one load. Scans of several threads may share it.
class SchemaCache {
  public:
    static constexpr std::size_t max_kept = 16;

    explicit SchemaCache(SchemaLoaderOptions options) : loader_(std::move(options)) {}

    [[nodiscard]] bool may_keep(const LoadedSchemas &schemas) const {
        return loader_.may_keep(schemas);
    }

    // Never null; see SchemaLoader::load().
    std::shared_ptr<const LoadedSchemas> get(const SchemaIds &ids);

  private:
    SchemaLoader loader_;
    std::mutex mutex_;
    std::vector<std::shared_ptr<const LoadedSchemas>> kept_;  // the one used last at the end
};

}  // namespace vrn::scan
