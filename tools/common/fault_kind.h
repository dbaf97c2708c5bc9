// Words for the kinds of faults, as programs read them.
#pragma once

#include <string_view>

#include "scan/fault.h"
#include "scan/loaded_schemas.h"

namespace vrn::tool {

std::string_view fault_kind_name(scan::FaultKind kind);
// Of schemas that are not whole.
std::string_view schemas_fault_name(const scan::LoadedSchemas &schemas);

}  // namespace vrn::tool
