#include "data/schema_id.h"

#include <md5.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "data/text/json_value.h"
#include "utils/strings.h"

namespace {

// Sixteen characters that stand for an id; no digest will ever equal them.
constexpr char blob_schema_id[] = "BLOB_DATA_SCHEMA";
static_assert(sizeof blob_schema_id - 1 == sizeof(vrn_schema_id_t));

}  // namespace

bool vrn_schema_id_is_zero(const vrn_schema_id_t *id) {
    return std::ranges::all_of(id->bytes, [](std::uint8_t byte) { return byte == 0; });
}

void vrn_schema_id_clear(vrn_schema_id_t *id) {
    *id = {};
}

void vrn_schema_id_copy(vrn_schema_id_t *to, const vrn_schema_id_t *from) {
    *to = *from;
}

int vrn_schema_id_compare(const vrn_schema_id_t *a, const vrn_schema_id_t *b) {
    return std::memcmp(a->bytes, b->bytes, sizeof a->bytes);
}

char *vrn_schema_id_to_hex(const vrn_schema_id_t *id) {
    auto *text = static_cast<char *>(std::calloc(1, VRN_SCHEMA_ID_HEX_SIZE));
    if (text) vrn_schema_id_format(id, text);
    return text;
}

void vrn_schema_id_format(const vrn_schema_id_t *id, char *buffer) {
    for (std::size_t i = 0; i < sizeof id->bytes; ++i)
        std::snprintf(buffer + 2 * i, 3, "%02x", id->bytes[i]);  // two digits and a terminator
}

bool vrn_schema_id_from_hex(const char *text, vrn_schema_id_t *id) {
    if (!text || !id || std::strlen(text) != 2 * sizeof id->bytes) return false;
    for (std::size_t i = 0; i < sizeof id->bytes; ++i) {
        const int high = vrn_hex_nibble(text[2 * i]);
        const int low = vrn_hex_nibble(text[2 * i + 1]);
        if (high < 0 || low < 0) return false;
        id->bytes[i] = static_cast<std::uint8_t>(high * 16 + low);
    }
    return true;
}

bool vrn_schema_id_is_blob(const vrn_schema_id_t *id) {
    return std::memcmp(id->bytes, blob_schema_id, sizeof id->bytes) == 0;
}

void vrn_schema_id_set_blob(vrn_schema_id_t *id) {
    std::memcpy(id->bytes, blob_schema_id, sizeof id->bytes);
}

bool vrn_md5_of_string(const char *text, vrn_schema_id_t *digest) {
    if (!text) return false;
    // An id, not a protection: MD5 is what the format has.
    MD5_CTX context;
    MD5Init(&context);
    MD5Update(&context, reinterpret_cast<const std::uint8_t *>(text), std::strlen(text));
    MD5Final(digest->bytes, &context);
    return true;
}

bool vrn_md5_of_json(vrn_schema_id_t *digest, const JSON_Value *value) {
    // The digest of the pretty text, though the compact one is what schema files hold.
    const vrn_json_text_ptr text(json_serialize_to_string_pretty(value));
    return vrn_md5_of_string(text.get(), digest);
}
