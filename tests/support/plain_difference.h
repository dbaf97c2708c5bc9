// Rows of random types, as the tool writes them and as printf does: the two must not differ.
#pragma once

#include <string>
#include <string_view>

namespace vrn::test {

// One type and its field list for the line protocol, made from `bytes`: empty, or what differs.
std::string influx_difference(std::string_view bytes);
// The tables of one counters schema.
std::string table_difference(std::string_view bytes);

}  // namespace vrn::test
