#include "vrn_export/format/hex_digest.h"

#include <fstream>
#include <iterator>

#include "data/schema_id.h"

namespace vrn::exporter {

namespace {

std::string digest_to_zero(const std::string &text) {
    vrn_schema_id_t digest{};
    static_cast<void>(vrn_md5_of_string(text.c_str(), &digest));  // fails for null alone
    char hex[VRN_SCHEMA_ID_HEX_SIZE];
    vrn_schema_id_format(&digest, hex);
    return hex;
}

}  // namespace

std::string hex_digest(const std::string &text) {
    std::string digest = digest_to_zero(text);
    for (std::size_t zero = text.find('\0'); zero != text.npos; zero = text.find('\0', zero + 1))
        digest = digest_to_zero(digest.append(text, zero + 1));
    return digest;
}

std::string hex_digest_of_file(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return hex_digest({std::istreambuf_iterator<char>(file), {}});
}

}  // namespace vrn::exporter
