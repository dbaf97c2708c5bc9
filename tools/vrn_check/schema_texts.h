// The schemas of one folder: what loads of them, and whether their texts are what their names say.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "data/schema_id.h"
#include "scan/schema_cache.h"
#include "vrn_check/known_schemas.h"

namespace vrn::check {

// For all threads.
class SchemaTexts {
  public:
    explicit SchemaTexts(const std::string &folder);

    scan::SchemaCache *cache() { return &cache_; }

    // Lists the folder once.
    const KnownSchemas &known();

    struct Finding {
        const char *kind = nullptr;  // of the fault; null: there is none
        std::string reason;
    };
    // Looks at the file of a schema once. An id without a schema (zero, or that of blobs) is fine.
    Finding look_up(const vrn_schema_id_t &id);

  private:
    Finding inspect(const vrn_schema_id_t &id) const;

    std::string folder_;
    scan::SchemaCache cache_;
    std::mutex mutex_;
    std::unique_ptr<const KnownSchemas> known_;
    std::map<std::string, Finding> findings_;  // by the text of the id
};

// The schemas of a run.
class SchemaFolders {
  public:
    // All in `folder`; when that is empty, where vrn_read would find those of a file.
    explicit SchemaFolders(std::string folder) : folder_(std::move(folder)) {}

    SchemaTexts *of_file(const std::string &path);

  private:
    std::string folder_;
    std::mutex mutex_;
    std::map<std::string, std::unique_ptr<SchemaTexts>> texts_;  // by folder
};

}  // namespace vrn::check
