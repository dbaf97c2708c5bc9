// Field sets: the event types and fields that a user wants to see.
#pragma once

#include <cstddef>

#include "utils/c_ptr.h"

class ProviderFieldSet;

// Flat handle; no exception leaves its entries.
struct vrn_provider_field_set_t {
    ProviderFieldSet *set;  // owned
};

bool vrn_provider_field_set_should_include_field(const vrn_provider_field_set_t *set,
                                                 const char *type_name, const char *field_name);
bool vrn_provider_field_set_is_type_of_interest(const vrn_provider_field_set_t *set,
                                                const char *type_name);
