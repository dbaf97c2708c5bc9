// Words for the kinds of faults, as programs read them.
#pragma once

#include <string_view>

#include "scan/fault.h"

namespace vrn::tool {

std::string_view fault_kind_name(scan::FaultKind kind);

}  // namespace vrn::tool
