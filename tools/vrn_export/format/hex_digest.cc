#include "vrn_export/format/hex_digest.h"

#include "data/schema_id.h"

namespace vrn::exporter {

std::string hex_digest(const std::string &text) {
    vrn_schema_id_t digest{};
    static_cast<void>(vrn_md5_of_string(text.c_str(), &digest));  // fails for null alone
    char hex[VRN_SCHEMA_ID_HEX_SIZE];
    vrn_schema_id_format(&digest, hex);
    return hex;
}

}  // namespace vrn::exporter
