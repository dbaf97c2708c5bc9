#include "data/schema/type_layout.h"

#include <cerrno>
#include <cinttypes>
#include <cstring>
#include <limits>
#include <optional>
#include <unordered_map>

#include "utils/catch_all.h"
#include "utils/log.h"

namespace {

// A sum at the limit exceeds every bound, which is all that the checks below ask.
std::uint64_t saturating_add(std::uint64_t a, std::uint64_t b) {
    return a > std::numeric_limits<std::uint64_t>::max() - b
               ? std::numeric_limits<std::uint64_t>::max()
               : a + b;
}

std::uint64_t saturating_multiply(std::uint64_t a, std::uint64_t b) {
    return b != 0 && a > std::numeric_limits<std::uint64_t>::max() / b
               ? std::numeric_limits<std::uint64_t>::max()
               : a * b;
}

// Bytes from one element to the next. Arrays of characters are read as one text, whatever the
// document says about the size of an element.
std::uint64_t element_stride(const vrn_type_field_definition_t &field) {
    const std::uint32_t id = field.type->builtin_id;
    return id == VRN_BUILTIN_CHAR || id == VRN_BUILTIN_UCHAR ? 1 : field.type_size;
}

// All of it is compared with what remains: offsets and sizes of a document may be near 2^64.
bool field_fits(const vrn_type_field_definition_t &field, std::uint64_t record_size) {
    if (field.offset > record_size) return false;
    // Nothing is read of such a field, so its size may be anything.
    if (field.array_length == 0) return true;
    const std::uint64_t room = record_size - field.offset;
    if (field.type->size > room) return false;
    const std::uint64_t stride = element_stride(field);
    // An element of stride 0 is read again and again in one place.
    return stride == 0 || field.array_length - 1U <= (room - field.type->size) / stride;
}

// A few bytes of a document could otherwise declare a type whose rows fill the memory.
// What one record expands to.
struct Expansion {
    std::uint64_t values = 0;      // each character of a text counting one
    std::uint64_t name_bytes = 0;  // of all members
};

// Measures each type once, so that all of a schema takes time linear in its fields.
class LayoutCheck {
  public:
    explicit LayoutCheck(const char *provider) : provider_(provider) {}

    // False after an error line, or without one for an unbound field, which was logged before.
    bool passes(const vrn_type_definition_t &type) { return measure(type).has_value(); }

  private:
    std::optional<Expansion> measure(const vrn_type_definition_t &type) {
        if (type.builtin_id != VRN_BUILTIN_NONE) return Expansion{.values = 1};
        const auto [entry, is_new] = measured_.try_emplace(&type, std::nullopt);
        std::optional<Expansion> &found = entry->second;  // stays valid while the map grows
        if (is_new) return found = measure_fields(type);
        if (!found)  // met again while its own fields are measured
            VRN_LOG(VRN_LOG_ERROR, "Type '%s' of schema '%s' contains itself", type.name,
                    provider_);
        return found;
    }

    std::optional<Expansion> measure_fields(const vrn_type_definition_t &type) {
        Expansion total;
        for (std::uint16_t i = 0; i < type.num_fields; ++i) {
            const vrn_type_field_definition_t &field = *type.fields[i];
            if (!field.type) return std::nullopt;
            const std::optional<Expansion> element = measure(*field.type);
            if (!element || !fits(field, type)) return std::nullopt;
            add(&total.values, field.array_length, element->values);
            add(&total.name_bytes, 1, field.field_name ? std::strlen(field.field_name) : 0);
            add(&total.name_bytes, field.array_length, element->name_bytes);
        }
        const bool is_within_limits =
            is_within(type, "values", total.values, VRN_MAX_SPARE_VALUES,
                      VRN_MAX_VALUES_PER_BYTE) &&
            is_within(type, "bytes of names", total.name_bytes, VRN_MAX_SPARE_NAME_BYTES,
                      VRN_MAX_NAME_BYTES_PER_BYTE);
        return is_within_limits ? std::optional(total) : std::nullopt;
    }

    static void add(std::uint64_t *total, std::uint64_t count, std::uint64_t of_one) {
        *total = saturating_add(*total, saturating_multiply(count, of_one));
    }

    bool fits(const vrn_type_field_definition_t &field, const vrn_type_definition_t &type) const {
        if (field_fits(field, type.size)) return true;
        VRN_LOG(VRN_LOG_ERROR,
                "Field '%s.%s' of schema '%s' does not lie within the %" PRIu64
                " bytes of its type",
                type.name, field.field_name, provider_, type.size);
        return false;
    }

    bool is_within(const vrn_type_definition_t &type, const char *what, std::uint64_t count,
                   std::uint64_t spare, std::uint64_t per_byte) const {
        const std::uint64_t limit = saturating_add(spare, saturating_multiply(per_byte, type.size));
        if (count <= limit) return true;
        VRN_LOG(VRN_LOG_ERROR, "Type '%s' of schema '%s' expands to more than %" PRIu64 " %s",
                type.name, provider_, limit, what);
        return false;
    }

    const char *provider_;
    // Nothing: being measured, or refused.
    std::unordered_map<const vrn_type_definition_t *, std::optional<Expansion>> measured_;
};

std::size_t resolve_leading_types(vrn_schema_t *schema) {
    std::size_t i = 0;
    while (i < schema->num_types && vrn_schema_resolve_type_fields(schema, schema->types[i])) ++i;
    return i;
}

std::size_t check_leading_types(const vrn_schema_t *schema, std::size_t count) {
    LayoutCheck check(vrn_schema_provider_text(schema));
    std::size_t i = 0;
    while (i < count && check.passes(*schema->types[i])) ++i;
    return i;
}

// Fields without a type are passed over by every decoder.
void unbind_fields(const vrn_type_definition_t *type) {
    for (std::uint16_t i = 0; i < type->num_fields; ++i)
        vrn_field_definition_bind(type->fields[i], nullptr);
}

}  // namespace

bool vrn_schema_link_types(vrn_schema_t *schema) {
    std::size_t usable = 0;
    const auto find_usable = [&] {
        usable = check_leading_types(schema, resolve_leading_types(schema));
    };
    if (!vrn::catch_all(find_usable))
        VRN_LOG(VRN_LOG_ERROR, "Failed to check the types of schema '%s': %s",
                vrn_schema_provider_text(schema), std::strerror(ENOMEM));
    // Types after the first bad one may refer to it, so none of them is kept.
    for (std::size_t i = usable; i < schema->num_types; ++i) unbind_fields(schema->types[i]);
    return usable == schema->num_types;
}
