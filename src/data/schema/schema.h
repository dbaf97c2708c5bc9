// One event provider's schema: its name, version and record types.
#pragma once
#include "data/schema/builtin_types.h"
#include "data/schema/type_definition.h"
#include "data/schema_id.h"

inline constexpr std::size_t VRN_MAX_TYPES = 254;

struct vrn_schema_t {
    std::uint32_t provider_version;               // packed
    char *provider_name;                          // owned; may be null
    vrn_type_definition_t *types[VRN_MAX_TYPES];  // owned; the place is the type index
    std::uint8_t num_types;
    const vrn_schema_t *parent;  // borrowed; lookups go on here; must outlive this schema
    vrn_schema_id_t md5_digest;  // all zero until computed
    char md5_digest_hex[VRN_SCHEMA_ID_HEX_SIZE];
};

// Schema without types or parent; `provider_name` is copied and may be null. Null: out of memory.
[[nodiscard]] vrn_schema_t *vrn_schema_create(const char *provider_name,
                                              std::uint32_t provider_version);
void vrn_schema_destroy(vrn_schema_t *schema);  // accepts null; leaves the parent alone
using vrn_schema_ptr = vrn::CPtr<vrn_schema_t, vrn_schema_destroy>;

// Provider name for messages: "<undefined>" when there is none.
const char *vrn_schema_provider_text(const vrn_schema_t *schema);

// Moves `type` into the next free place. False, the type destroyed, when all VRN_MAX_TYPES are
// taken or out of memory.
[[nodiscard]] bool vrn_schema_append_type(vrn_schema_t *schema, vrn_type_definition_ptr type);

// First type called `name` in the schema, then in its parents, so that a schema's own type hides a
// built-in one. Borrowed; null when there is none, as for a null `name`.
const vrn_type_definition_t *vrn_schema_find_type(const vrn_schema_t *schema, const char *name);
// Bytes of one record of that type, or 0.
std::uint64_t vrn_schema_type_size(const vrn_schema_t *schema, const char *name);

// Binds each field's `type` by its `type_name`. False after one error line at the first name that
// is found nowhere: that field is then unbound and those after it are untouched.
[[nodiscard]] bool vrn_schema_resolve_type_fields(const vrn_schema_t *schema,
                                                  vrn_type_definition_t *type);

// Appends the built-in types in table order, as far as there is room. False: out of memory.
[[nodiscard]] bool vrn_schema_add_builtin_types(vrn_schema_t *schema);
