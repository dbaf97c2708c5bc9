#include "data/selection/provider_field_set.h"

#include <cstring>

#include "data/selection/field_set.h"
#include "data/selection/set_entry.h"

namespace {

constexpr vrn::SetTexts texts{"vrn_provider_field_set_t",
                              "Failed to create ProviderFieldSet instance", "field_set"};

}  // namespace

vrn_provider_field_set_t *vrn_provider_field_set_create() {
    return vrn::create_set<vrn_provider_field_set_t>(__func__, texts);
}

void vrn_provider_field_set_destroy(vrn_provider_field_set_t *set) {
    vrn::destroy_set(set);
}

bool vrn_provider_field_set_init_from_file(vrn_provider_field_set_t *set,
                                           const char *fset_filename) {
    if (!vrn::check_arguments(__func__, texts, set, {{"fset_filename", fset_filename}}))
        return false;
    return vrn::result_or_log({__func__, "Failed to initialize ProviderFieldSet from file"}, false,
                              [&] { return set->set->loadFromFile(fset_filename); });
}

bool vrn_provider_field_set_init_from_lines(vrn_provider_field_set_t *set, const char *const *lines,
                                            std::size_t num_lines) {
    return vrn::init_set_from_lines({__func__, "Failed to initialize ProviderFieldSet from lines"},
                                    texts, set, lines, num_lines);
}

bool vrn_provider_field_set_should_include_field(const vrn_provider_field_set_t *set,
                                                 const char *type_name, const char *field_name) {
    if (!vrn::check_arguments(__func__, texts, set,
                              {{"type_name", type_name}, {"field_name", field_name}}))
        return false;
    return vrn::result_or_log(
        {__func__, "Failed to check if field should be included"}, false,
        [&] { return set->set->should_include_field(type_name, field_name); });
}

bool vrn_provider_field_set_is_type_of_interest(const vrn_provider_field_set_t *set,
                                                const char *type_name) {
    // Every failure is a yes: a broken set must not hide types.
    if (!vrn::check_arguments(__func__, texts, set, {{"type_name", type_name}})) return true;
    return vrn::result_or_log({__func__, "Failed to check if type is of interest"}, true,
                              [&] { return set->set->is_type_of_interest(type_name); });
}

char *vrn_provider_field_set_get_name(const vrn_provider_field_set_t *set) {
    if (!vrn::check_arguments(__func__, texts, set, {})) return nullptr;
    const char *function = __func__;
    return vrn::result_or_log(
        {function, "Failed to get field set name"}, static_cast<char *>(nullptr), [&] {
            const char *name = set->set->name().c_str();
            char *copy = strdup(name);
            // In lower case, unlike its neighbours; the text is pinned.
            if (!copy) VRN_LOG(VRN_LOG_ERROR, "[%s] failed to copy field set name", function);
            return copy;
        });
}

bool vrn_provider_field_set_is_initialized(const vrn_provider_field_set_t *set) {
    return vrn::check_arguments(__func__, texts, set, {}) && set->set->is_initialized();
}

void vrn_provider_field_set_print_configuration(const vrn_provider_field_set_t *set) {
    if (!vrn::check_arguments(__func__, texts, set, {})) return;
    vrn::result_or_log({__func__, "Failed to print field set configuration"}, true, [&] {
        set->set->printConfiguration();
        return true;
    });
}
