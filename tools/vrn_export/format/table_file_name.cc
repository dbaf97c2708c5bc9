#include "vrn_export/format/table_file_name.h"

#include <openssl/md5.h>

#include "data/schema_id.h"

namespace vrn::exporter {
namespace {

// With a suffix of any use it stays below the 255 bytes of file systems.
constexpr std::size_t max_size = 200, cut_size = 150;

bool is_plain(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || character == '-' || character == '_';
}

}  // namespace

std::string text_digest(std::string_view text) {
    vrn_schema_id_t id{};
    MD5(reinterpret_cast<const unsigned char *>(text.data()), text.size(), id.bytes);
    char hex[VRN_SCHEMA_ID_HEX_SIZE];
    vrn_schema_id_format(&id, hex);
    return hex;
}

std::string table_file_name(std::string_view table) {
    constexpr char digits[] = "0123456789ABCDEF";
    std::string name;
    for (const char character : table) {
        if (is_plain(character) || (character == '.' && !name.empty())) {
            name += character;
            continue;
        }
        const auto byte = static_cast<unsigned char>(character);
        name += '%';
        name += digits[byte >> 4];
        name += digits[byte & 15];
    }
    // No other name holds a "%" before a "~", or alone.
    if (name.empty()) return "%";
    if (name.size() <= max_size) return name;
    return name.substr(0, cut_size) + "%~" + text_digest(table);
}

}  // namespace vrn::exporter
