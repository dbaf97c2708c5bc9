#include "scan/schemas_in_use.h"

namespace vrn::scan {

bool SchemasInUse::use(const vrn_schema_id_t *ids, std::size_t count) {
    if (!cache_) return true;
    const SchemaIds named = make_schema_ids(ids, count, counters_);
    if (current_ && current_->is_quiet && current_->ids == named) return true;
    // Before the load: what the end of a type system tells comes before what a load tells.
    current_.reset();
    current_ = cache_->get(named);
    log_again(current_->messages);
    visitor_->schemas(current_);
    return current_->is_whole;
}

}  // namespace vrn::scan
