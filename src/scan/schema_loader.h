// Loads the schemas that data files name, through field and counter sets.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "scan/loaded_schemas.h"

namespace vrn::scan {

struct SchemaLoaderOptions {
    std::string folder;                             // of schema_<id>.json files
    std::optional<std::string> field_set_file{};    // none: all fields
    std::optional<std::string> counter_set_file{};  // none: all counters
    // With one set file alone, the other kind of data is taken whole; not at all otherwise.
    bool take_unfiltered_kind = false;
    // A schema that does not load leaves its place empty, and the others are loaded all the same.
    bool take_what_loads = false;
    // What a load logged is told when its schemas become current for a file, not once a block.
    bool keep_noisy_loads = false;
};

class SchemaLoader {
  public:
    explicit SchemaLoader(SchemaLoaderOptions options) : options_(std::move(options)) {}

    // True for loads that may stand in for all later ones of the same ids.
    [[nodiscard]] bool may_keep(const LoadedSchemas &schemas) const {
        return schemas.is_quiet || options_.keep_noisy_loads;
    }

    // Never null. What goes wrong is told in the result. Throws std::bad_alloc.
    [[nodiscard]] std::shared_ptr<const LoadedSchemas> load(const SchemaIds &ids) const;

  private:
    struct Filters;
    [[nodiscard]] bool load_filters(Filters *filters) const;
    [[nodiscard]] bool load_all(const SchemaIds &ids, LoadedSchemas *schemas) const;
    [[nodiscard]] bool load_events(const SchemaIds &ids, vrn_type_system_t *system,
                                   const Filters &filters) const;
    [[nodiscard]] bool load_event_schema(vrn_type_system_t *system, const vrn_schema_id_t &id,
                                         const Filters &filters) const;
    [[nodiscard]] bool load_counters_schema(vrn_type_system_t *system, const vrn_schema_id_t &id,
                                            const Filters &filters) const;
    [[nodiscard]] bool lacks_files(const SchemaIds &ids) const;
    std::string path_of(const vrn_schema_id_t &id) const;

    SchemaLoaderOptions options_;
};

}  // namespace vrn::scan
