#include "scan/schemas_in_use.h"

namespace vrn::scan {

bool SchemasInUse::use(const vrn_schema_id_t *ids, std::size_t count) {
    if (!cache_) return true;
    has_named_ = true;
    const SchemaIds named = make_schema_ids(ids, count, counters_);
    if (current_ && cache_->may_keep(*current_) && current_->ids == named)
        return current_->is_whole;
    // Before the load: what the end of a type system tells comes before what a load tells.
    current_.reset();
    current_ = cache_->get(named);
    log_again(current_->messages);
    visitor_->schemas(current_);
    return current_->is_whole;
}

void SchemasInUse::resume(std::shared_ptr<const LoadedSchemas> schemas) {
    current_ = std::move(schemas);
    if (!current_) return;
    counters_ = current_->ids.counters;
    visitor_->schemas(current_);
}

}  // namespace vrn::scan
