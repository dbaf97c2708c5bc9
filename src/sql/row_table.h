// Tables of events and of counters.
#pragma once

#include <memory>
#include <string>

#include "sql/file_set.h"
#include "sql/table.h"

namespace vrn::sql {

// The events of a type. Its versions are united by the names of their columns. Throws QueryError
// when no file has it.
std::unique_ptr<Table> make_event_table(FileSet files, RecordFilter filter, std::string type);

// A row for each counters block: `time` and the counters of all schemas.
std::unique_ptr<Table> make_counter_table(FileSet files, RecordFilter filter);

// Names of the event types of all schemas, in order.
std::vector<std::string> event_types(const FileSet &files);
bool has_counters(const FileSet &files);
// The threads that files keep busy.
std::size_t threads_for(const FileSet &files);

}  // namespace vrn::sql
