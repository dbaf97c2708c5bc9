// Bytes as a gzip file and as the stream of a gzip page, by the quick libraries and by zlib alone:
// the two must not differ.
#pragma once

#include <string>

namespace vrn::test {

// What differs; empty when nothing does. `bytes` fit a pipe: a megabyte at most.
std::string gzip_file_difference(const std::string &bytes);
std::string gzip_page_difference(const std::string &bytes);

}  // namespace vrn::test
