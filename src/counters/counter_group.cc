#include "counters/counter_group.h"

#include <cstdlib>
#include <cstring>

#include "data/selection/name_tables.h"
#include "utils/log.h"
#include "utils/strings.h"

namespace {

// Frees an inner text that should be there. Deliberate: null would be harmless, but a counter
// without its texts was built wrongly.
void free_text(char *text, const char *function, int line) {
    if (!text)
        VRN_LOG(VRN_LOG_WARNING, "on %s, %s %d attempted to free NULL ptr", __FILE_NAME__, function,
                line);
    std::free(text);
}

void print_rule(std::FILE *stream) {
    constexpr char rule[] = "------------------------------------------\n";
    static_assert(sizeof rule == 42 + 2);
    std::fputs(rule, stream);
}

// Makes room for one more counter; false after an error line.
bool grow(vrn_counter_group_t *group) {
    const std::size_t count = static_cast<std::size_t>(group->num_counters) + 1;
    void *larger = std::realloc(group->counters, count * sizeof(void *));
    if (!larger) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to allocate array of %d counter pointers",
                static_cast<int>(count));
        return false;
    }
    group->counters = static_cast<vrn_counter_info_t **>(larger);
    return true;
}

}  // namespace

vrn_counter_info_t *vrn_counter_info_copy(const vrn_counter_info_t *counter) {
    auto *record = static_cast<vrn_counter_info_t *>(std::malloc(sizeof(vrn_counter_info_t)));
    if (!record) return nullptr;
    *record = *counter;
    // Deliberate: a copy is never hidden.
    record->hidden = 0;
    // So that a copy that fails half-way can be destroyed.
    record->name = record->description = record->units = nullptr;
    vrn_counter_info_ptr copy(record);
    if (!vrn_copy_text(counter->name, &copy->name) ||
        !vrn_copy_text(counter->description, &copy->description) ||
        !vrn_copy_text(counter->units, &copy->units))
        return nullptr;
    return copy.release();
}

void vrn_destroy_counter_info(vrn_counter_info_t *counter) {
    if (!counter) return;
    free_text(counter->name, __func__, __LINE__);
    free_text(counter->description, __func__, __LINE__);
    free_text(counter->units, __func__, __LINE__);
    std::free(counter);
}

void vrn_counter_info_print(const vrn_counter_info_t *counter, std::FILE *stream) {
    std::fprintf(stream, "| %-40s | %-60.60s |\n", counter->name, counter->description);
}

vrn_counter_group_t *vrn_counter_group_create(const char *name, const char *provider) {
    vrn_counter_group_ptr group(
        static_cast<vrn_counter_group_t *>(std::calloc(1, sizeof(vrn_counter_group_t))));
    if (!group) return nullptr;
    group->granularity = VRN_GRANULARITY_NODE;
    group->num_counter_sets = 1;
    if (!vrn_copy_text(vrn_text_or_empty(name), &group->name) ||
        !vrn_copy_text(vrn_text_or_empty(provider), &group->provider))
        return nullptr;
    return group.release();
}

void vrn_free_counter_group(vrn_counter_group_t *group) {
    if (!group) return;
    // A provider may have allocated its groups in a way of its own.
    if (group->provider_hooks) {
        group->provider_hooks->destroy_group(group);
        return;
    }
    for (std::uint32_t i = 0; i < group->num_counters; ++i)
        vrn_destroy_counter_info(group->counters[i]);
    std::free(group->counters);
    free_text(group->name, __func__, __LINE__);
    free_text(group->provider, __func__, __LINE__);
    std::free(group);
}

bool vrn_counter_group_add_counter(vrn_counter_group_t *group, const vrn_counter_info_t *counter) {
    vrn_counter_info_ptr copy(vrn_counter_info_copy(counter));
    if (!copy) {
        VRN_LOG(VRN_LOG_ERROR, "Deep copy of the counter failed");
        return false;
    }
    // The place comes first: hooks count the entry before it is filled.
    if (!grow(group)) return false;
    const std::uint32_t place = group->num_counters;
    if (!group->provider_hooks)
        ++group->num_counters;
    else if (!group->provider_hooks->add_counter(group, counter))
        return false;
    group->counters[place] = copy.release();  // to the group
    return true;
}

void vrn_counter_group_print(const vrn_counter_group_t *group, std::FILE *stream) {
    print_rule(stream);
    std::fprintf(stream, "| Granularity per %s (%d counter sets) \n",
                 vrn_counter_group_granularity_name(group),
                 static_cast<int>(group->num_counter_sets));
    print_rule(stream);
    std::fprintf(stream, "| %2s | %-20s | %-40s\n", "#", "Active counter", "Description");
    print_rule(stream);
    for (std::uint32_t i = 0; i < group->num_counters; ++i)
        std::fprintf(stream, "| %2d | %-20s | %-40.40s\n", static_cast<int>(i),
                     group->counters[i]->name, group->counters[i]->description);
    print_rule(stream);
    std::fflush(stream);
}

const char *vrn_counter_group_granularity_name(const vrn_counter_group_t *group) {
    const char *name = vrn_value_to_name(vrn_granularity_names, group->granularity);
    return name ? name : "unknown";
}
