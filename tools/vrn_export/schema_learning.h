// What formats are to know of schemas before they begin.
#pragma once

#include <vector>

#include "common/input_files.h"
#include "vrn_export/format/encoder.h"
#include "vrn_export/schema_caches.h"

namespace vrn::exporter {

// Shows the schemas that the heads of the files name to the format, each once.
void learn_schemas(const std::vector<tool::InputFile> &files, SchemaCaches *schemas,
                   Format *format);

}  // namespace vrn::exporter
