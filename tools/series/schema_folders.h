// The schemas and metadata of a run.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "counters/metadata.h"
#include "scan/schema_cache.h"
#include "series/series_options.h"

namespace vrn::series {

// What stands in one folder of schemas. A schema that doesn't load leaves out its own records only.
struct SchemaFolder {
    scan::SchemaCache schemas;
    vrn_metadata_ptr metadata;  // null: none is asked for, or there is none
};

// One for each folder that files use, kept for the run. Not for several threads.
class SchemaFolders {
  public:
    // Borrows the options.
    explicit SchemaFolders(const SeriesOptions *options) : options_(options) {}

    SchemaFolder *of_file(const std::string &path);

  private:
    const SeriesOptions *options_;
    std::map<std::string, std::unique_ptr<SchemaFolder>> folders_;  // by path
};

}  // namespace vrn::series
