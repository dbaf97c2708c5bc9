#include "data/selection/provider_counter_set.h"

#include <cstring>

#include "data/selection/counter_set.h"
#include "data/selection/set_entry.h"

namespace {

// Inside the lambdas below, __func__ would be "operator()": messages need the entry's own name.
constexpr vrn::SetTexts texts{"vrn_provider_counter_set_t",
                              "Failed to create ProviderCounterSet instance", "counter_set"};

}  // namespace

vrn_provider_counter_set_t *vrn_provider_counter_set_create() {
    return vrn::create_set<vrn_provider_counter_set_t>(__func__, texts);
}

void vrn_provider_counter_set_destroy(vrn_provider_counter_set_t *set) {
    vrn::destroy_set(set);
}

bool vrn_provider_counter_set_init_from_file(vrn_provider_counter_set_t *set,
                                             const char *cset_filename) {
    if (!vrn::check_arguments(__func__, texts, set, {{"cset_filename", cset_filename}}))
        return false;
    return vrn::result_or_log({__func__, "Failed to initialize ProviderCounterSet from file"},
                              false, [&] { return set->set->loadFromFile(cset_filename); });
}

bool vrn_provider_counter_set_init_from_lines(vrn_provider_counter_set_t *set,
                                              const char *const *lines, std::size_t num_lines) {
    return vrn::init_set_from_lines(
        {__func__, "Failed to initialize ProviderCounterSet from lines"}, texts, set, lines,
        num_lines);
}

bool vrn_provider_counter_set_should_include_counter(const vrn_provider_counter_set_t *set,
                                                     const char *counter_name) {
    if (!vrn::check_arguments(__func__, texts, set, {{"counter_name", counter_name}})) return false;
    return vrn::result_or_log({__func__, "Failed to check if counter should be included"}, false,
                              [&] { return set->set->should_include_counter(counter_name); });
}

char *vrn_provider_counter_set_get_counter_alias(const vrn_provider_counter_set_t *set,
                                                 const char *counter_name) {
    if (!vrn::check_arguments(__func__, texts, set, {{"counter_name", counter_name}}))
        return nullptr;
    const char *function = __func__;
    return vrn::result_or_log({function, "Failed to get counter alias for counter", counter_name},
                              static_cast<char *>(nullptr), [&] {
                                  const std::string alias = set->set->getCounterAlias(counter_name);
                                  char *copy = strdup(alias.c_str());
                                  if (!copy)
                                      VRN_LOG(VRN_LOG_ERROR,
                                              "[%s] Failed to copy alias '%s' for counter '%s'",
                                              function, alias.c_str(), counter_name);
                                  return copy;
                              });
}

char *vrn_provider_counter_set_get_name(const vrn_provider_counter_set_t *set) {
    if (!vrn::check_arguments(__func__, texts, set, {})) return nullptr;
    const char *function = __func__;
    return vrn::result_or_log(
        {function, "Failed to get counter set name"}, static_cast<char *>(nullptr), [&] {
            const char *name = set->set->name().c_str();
            char *copy = strdup(name);
            if (!copy)
                VRN_LOG(VRN_LOG_ERROR, "[%s] Failed to copy counter set name '%s'", function, name);
            return copy;
        });
}

bool vrn_provider_counter_set_is_initialized(const vrn_provider_counter_set_t *set) {
    return vrn::check_arguments(__func__, texts, set, {}) && set->set->is_initialized();
}

void vrn_provider_counter_set_print_configuration(const vrn_provider_counter_set_t *set) {
    if (!vrn::check_arguments(__func__, texts, set, {})) return;
    vrn::result_or_log({__func__, "Failed to print counter set configuration"}, true, [&] {
        set->set->printConfiguration();
        return true;
    });
}
