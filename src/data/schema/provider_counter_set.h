// Counter sets: the counters that a user wants to see, and their aliases.
#pragma once

#include <cstddef>

#include "utils/c_ptr.h"

class ProviderCounterSet;

// Flat handle; no exception leaves its entries.
struct vrn_provider_counter_set_t {
    ProviderCounterSet *set;  // owned
};

bool vrn_provider_counter_set_should_include_counter(const vrn_provider_counter_set_t *set,
                                                     const char *counter_name);
