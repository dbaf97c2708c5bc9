// The schemas that a folder holds, to mend ids that name none of them.
#pragma once

#include <string>
#include <vector>

#include "data/schema_id.h"

namespace vrn::check {

// Those of one kind.
class SchemaIdList {
  public:
    void add(const vrn_schema_id_t &id) { ids_.push_back(id); }
    void sort();

    const std::vector<vrn_schema_id_t> &ids() const { return ids_; }
    bool has(const vrn_schema_id_t &id) const;
    // `id`, or the one that it is so like that chance can't be it: that of a schema or of none.
    vrn_schema_id_t mended(const vrn_schema_id_t &id) const;

  private:
    std::vector<vrn_schema_id_t> ids_;  // sorted
};

struct KnownSchemas {
    // Reads the files of `folder`; one that can't be read has none.
    explicit KnownSchemas(const std::string &folder);

    SchemaIdList events;
    SchemaIdList counters;  // with the id of blobs
};

}  // namespace vrn::check
