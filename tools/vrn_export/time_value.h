// Points in time as a command line has them.
#pragma once

#include <cstdint>

namespace vrn::exporter {

// Microseconds since the epoch, of a plain number or of an ISO 8601 text: "2026-03-01",
// "2026-03-01T12:30", "2026-03-01 12:30:00.25Z", "...+02:00". Without a zone it is UTC. Throws
// tool::BadValue.
std::uint64_t time_value(const char *text);

}  // namespace vrn::exporter
