#include "common/fault_kind.h"

namespace vrn::tool {

using scan::FaultKind;

std::string_view fault_kind_name(FaultKind kind) {
    // Programs read these names, so they never change. No default: the compiler tells of a kind
    // that lacks one.
    switch (kind) {
        case FaultKind::header_cut:
            return "header_cut";
        case FaultKind::header_bad:
            return "header_bad";
        case FaultKind::block_size_bad:
            return "block_size";
        case FaultKind::schemas_missing:
            return "schema_bad";
        case FaultKind::no_memory:
            return "no_memory";
        case FaultKind::read_failed:
            return "read_failed";
        case FaultKind::stream_cut:
            return "stream_cut";
        case FaultKind::tail_short:
            return "tail_short";
        case FaultKind::block_unknown:
            return "block_unknown";
        case FaultKind::not_a_block:
            return "not_a_block";
        case FaultKind::schemas_block_bad:
            return "schemas_block";
        case FaultKind::schema_none:
            return "schema_none";
        case FaultKind::type_unknown:
            return "type_unknown";
        case FaultKind::page_cut:
            return "page_cut";
        case FaultKind::page_damaged:
            return "page_damaged";
    }
    return "unknown";
}

std::string_view schemas_fault_name(const scan::LoadedSchemas &schemas) {
    return schemas.lacks_files ? "schema_missing" : fault_kind_name(FaultKind::schemas_missing);
}

}  // namespace vrn::tool
