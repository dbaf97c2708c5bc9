// The sources that a run stores its data for.
#pragma once

#include <set>
#include <string>

#include "vrn_collect/collect_options.h"

namespace vrn::collect {

// Names of the sources that `options` specifies by a file or a range (utils/source_list.h) or by
// the name of one, as it may be in the form of a GUID. Without any there is this host. Throws
// tool::UsageError and, for what a file holds, std::runtime_error.
std::set<std::string> make_source_names(const CollectOptions &options);

}  // namespace vrn::collect
