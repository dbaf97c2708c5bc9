// What data files hold, by their headers and schemas.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "common/input_files.h"
#include "scan/loaded_schemas.h"
#include "vrn_export/format/encoder.h"
#include "vrn_export/schema_caches.h"

namespace vrn::exporter {

class ContentList {
  public:
    // Borrows the format, whose selection counts. Faults are told on standard error.
    ContentList(const Format &format, SchemaCaches *schemas) : format_(format), schemas_(schemas) {}

    void add(const tool::InputFile &file);

    bool has_faults() const { return has_faults_; }
    // A table, with a row for each source and tag.
    std::string text() const;
    // The same as lines of JSON.
    std::string json() const;

  private:
    // Files of one source and tag.
    struct Content {
        std::uint64_t files = 0;
        std::uint64_t bytes = 0;
        std::uint64_t first_time = 0;  // 0: not known
        std::uint64_t last_time = 0;
        std::set<std::string> types;  // that their schemas describe: of events, counter groups
    };

    void add_types(const scan::LoadedSchemas &schemas, std::set<std::string> *types) const;

    const Format &format_;
    SchemaCaches *schemas_;
    std::map<std::pair<std::string, std::string>, Content> contents_;  // by source and tag
    bool has_faults_ = false;
};

}  // namespace vrn::exporter
