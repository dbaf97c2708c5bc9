// Texts told apart by short ones.
#pragma once

#include <string>

namespace vrn::exporter {

// 32 hex digits: MD5 of the text, or of its pieces between zero bytes, each after the digest of
// those before it.
std::string hex_digest(const std::string &text);

// Of what the file holds; of nothing when it can't be read.
std::string hex_digest_of_file(const std::string &path);

}  // namespace vrn::exporter
