// Schema ids: 16-byte MD5 digests that name schemas. All zero means none.
#pragma once

#include <parson.h>

#include <cstdint>

struct vrn_schema_id_t {
    std::uint8_t bytes[16];
};
static_assert(sizeof(vrn_schema_id_t) == 16);

inline constexpr std::size_t VRN_SCHEMA_ID_HEX_SIZE = 33;  // 32 digits and a terminator

bool vrn_schema_id_is_zero(const vrn_schema_id_t *id);
void vrn_schema_id_clear(vrn_schema_id_t *id);
void vrn_schema_id_copy(vrn_schema_id_t *to, const vrn_schema_id_t *from);
int vrn_schema_id_compare(const vrn_schema_id_t *a, const vrn_schema_id_t *b);  // as memcmp

// 32 lower-case digits; the caller frees the text. Null: out of memory.
[[nodiscard]] char *vrn_schema_id_to_hex(const vrn_schema_id_t *id);
// Writes them into a buffer of VRN_SCHEMA_ID_HEX_SIZE bytes.
void vrn_schema_id_format(const vrn_schema_id_t *id, char *buffer);

// Reads exactly 32 digits of either case; `id` may be partly written on failure.
[[nodiscard]] bool vrn_schema_id_from_hex(const char *text, vrn_schema_id_t *id);

// The reserved id of blob data pages, for which no schema exists.
bool vrn_schema_id_is_blob(const vrn_schema_id_t *id);
void vrn_schema_id_set_blob(vrn_schema_id_t *id);

// MD5 of a text without its terminator; false for null.
[[nodiscard]] bool vrn_md5_of_string(const char *text, vrn_schema_id_t *digest);
// MD5 of the pretty JSON text of `value`.
[[nodiscard]] bool vrn_md5_of_json(vrn_schema_id_t *digest, const JSON_Value *value);
