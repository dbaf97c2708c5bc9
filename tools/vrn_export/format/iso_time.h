// Times as ISO 8601 texts in UTC.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vrn::exporter {

// Of microseconds since the epoch: "2024-05-01T12:34:56.123456Z" has 27 characters.
inline constexpr std::size_t iso_time_size = 27;

// Times from the year 10000 on have no such text; the result is `out` then.
char *write_iso_time(char *out, std::uint64_t time);

}  // namespace vrn::exporter
