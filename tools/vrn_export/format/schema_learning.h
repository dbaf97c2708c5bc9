// What formats are to know of schemas before they begin.
#pragma once

#include <set>
#include <string>

#include "vrn_export/format/encoder.h"

namespace vrn::exporter {

// Shows all schemas in the folders to the format, each once and in an order that hangs on the
// schemas alone: a file may name any of them, also amid its blocks. Returns a digest of their
// ids and texts.
std::string learn_schemas(const std::set<std::string> &folders, Format *format);

}  // namespace vrn::exporter
