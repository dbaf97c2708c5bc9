// The schemas by which a scan decodes at present.
#pragma once

#include <memory>

#include "scan/schema_cache.h"
#include "scan/visitor.h"

namespace vrn::scan {

class SchemasInUse {
  public:
    // Borrows both. Without a cache no schemas are loaded: events and counters are passed over.
    SchemasInUse(SchemaCache *cache, Visitor *visitor) : cache_(cache), visitor_(visitor) {}

    // The header's counters schema counts for the whole file.
    void set_counters_schema(const vrn_schema_id_t &id) { counters_ = id; }

    // Makes the event schemas of `count` ids current, with the counters schema, and tells the
    // visitor. False when they are not all there; those that are become current.
    bool use(const vrn_schema_id_t *ids, std::size_t count);

    // Goes on amid a file with the schemas that hold there, may be null, and tells the visitor.
    void resume(std::shared_ptr<const LoadedSchemas> schemas);

    const vrn_type_system_t *type_system() const {
        return current_ ? current_->type_system.get() : nullptr;
    }
    const std::shared_ptr<const LoadedSchemas> &current() const { return current_; }
    bool has_events() const { return current_ && current_->has_events(); }
    bool has_counters() const { return current_ && current_->has_counters(); }
    // Events or counters are to be decoded, and there is nothing to do it by.
    bool lacks_events() const { return current_ && current_->takes_events && !has_events(); }
    bool lacks_counters() const { return current_ && current_->takes_counters && !has_counters(); }

    // A block is about to be taken by what is current. Those that no block has named since the
    // start count as used.
    void note_use() { has_used_first_ |= !has_named_; }
    bool has_used_first() const { return has_used_first_; }

  private:
    SchemaCache *cache_;
    Visitor *visitor_;
    vrn_schema_id_t counters_{};
    std::shared_ptr<const LoadedSchemas> current_;
    bool has_named_ = false;
    bool has_used_first_ = false;
};

}  // namespace vrn::scan
