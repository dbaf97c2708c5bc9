// Rows of random types, as text and as trees: the two must not differ.
#pragma once

#include <string>
#include <string_view>

namespace vrn::test {

// One type and a row of it, made from `bytes`: empty when the text equals the printed tree in a
// layout of their choice, or fails as it does; otherwise what differs.
std::string event_difference(std::string_view bytes);
// One counters schema, mostly with metadata, and its rows.
std::string counters_difference(std::string_view bytes);

}  // namespace vrn::test
