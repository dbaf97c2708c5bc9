// Field sets: the event types and fields that a user wants to see.
// Each entry checks its arguments and answers false or null after one error line.
#pragma once

#include <cstddef>

#include "utils/c_ptr.h"

class ProviderFieldSet;

// Flat handle; no exception leaves its entries.
struct vrn_provider_field_set_t {
    ProviderFieldSet *set;  // owned
};

[[nodiscard]] vrn_provider_field_set_t *vrn_provider_field_set_create();
void vrn_provider_field_set_destroy(vrn_provider_field_set_t *set);  // accepts null
using vrn_provider_field_set_ptr =
    vrn::CPtr<vrn_provider_field_set_t, vrn_provider_field_set_destroy>;

// Replace the entries. False also when there are no entries in the file or lines.
[[nodiscard]] bool vrn_provider_field_set_init_from_file(vrn_provider_field_set_t *set,
                                                         const char *fset_filename);
[[nodiscard]] bool vrn_provider_field_set_init_from_lines(vrn_provider_field_set_t *set,
                                                          const char *const *lines,
                                                          std::size_t num_lines);

bool vrn_provider_field_set_should_include_field(const vrn_provider_field_set_t *set,
                                                 const char *type_name, const char *field_name);
// True on every failure, so that a broken set drops no type.
bool vrn_provider_field_set_is_type_of_interest(const vrn_provider_field_set_t *set,
                                                const char *type_name);

// Stem of the file, for the caller to free.
char *vrn_provider_field_set_get_name(const vrn_provider_field_set_t *set);
bool vrn_provider_field_set_is_initialized(const vrn_provider_field_set_t *set);
void vrn_provider_field_set_print_configuration(const vrn_provider_field_set_t *set);
