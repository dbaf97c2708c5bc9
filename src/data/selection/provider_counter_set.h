// Counter sets: the counters that a user wants to see, and their aliases.
// Each entry checks its arguments and answers false or null after one error line.
#pragma once

#include <cstddef>

#include "utils/c_ptr.h"

class ProviderCounterSet;

// Flat handle; no exception leaves its entries.
struct vrn_provider_counter_set_t {
    ProviderCounterSet *set;  // owned
};

[[nodiscard]] vrn_provider_counter_set_t *vrn_provider_counter_set_create();
void vrn_provider_counter_set_destroy(vrn_provider_counter_set_t *set);  // accepts null
using vrn_provider_counter_set_ptr =
    vrn::CPtr<vrn_provider_counter_set_t, vrn_provider_counter_set_destroy>;

// Replace the entries. False also when there are no entries in the file or lines.
[[nodiscard]] bool vrn_provider_counter_set_init_from_file(vrn_provider_counter_set_t *set,
                                                           const char *cset_filename);
[[nodiscard]] bool vrn_provider_counter_set_init_from_lines(vrn_provider_counter_set_t *set,
                                                            const char *const *lines,
                                                            std::size_t num_lines);

bool vrn_provider_counter_set_should_include_counter(const vrn_provider_counter_set_t *set,
                                                     const char *counter_name);
// Alias of the counter, for the caller to free; empty when it has none.
char *vrn_provider_counter_set_get_counter_alias(const vrn_provider_counter_set_t *set,
                                                 const char *counter_name);

// Stem of the file, for the caller to free.
char *vrn_provider_counter_set_get_name(const vrn_provider_counter_set_t *set);
bool vrn_provider_counter_set_is_initialized(const vrn_provider_counter_set_t *set);
void vrn_provider_counter_set_print_configuration(const vrn_provider_counter_set_t *set);
