// Small data files with everything the reader knows, for tests that damage them.
#pragma once

#include <cstdint>
#include <string>

#include "support/temp_dir.h"

namespace vrn::test {

inline constexpr char sample_events_id[] = "11111111111111111111111111111111";
inline constexpr char sample_counters_id[] = "22222222222222222222222222222222";

// JSON documents of the sample schemas.
std::string sample_event_schema();
std::string sample_counters_schema();

// Header of a data file that names the sample schemas.
std::string sample_file_header(std::uint32_t chunk_size);

// Chunks of events (nested, arrays, texts, a GUID word at the end of a row), a schemas block,
// counters, a gzip and a snappy page, and padding.
std::string sample_data_file();

// Writes the schemas to `dir`/schema.
void write_sample_schemas(const TempDir &dir);

}  // namespace vrn::test
