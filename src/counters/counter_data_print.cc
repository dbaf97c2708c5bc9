#include <algorithm>

#include "counters/counter_data.h"
#include "counters/counters_table.h"

void vrn_counters_row_print(std::FILE *stream, std::uint64_t timestamp, vrn::Bytes values,
                            const vrn_counters_schema_t *schema, bool microseconds) {
    vrn::TextBuffer text;
    vrn::CountersTable(*schema).write(timestamp, values, microseconds, &text);
    std::fwrite(text.view().data(), 1, text.size(), stream);
}

std::uint64_t vrn_counters_schema_table_reach(const vrn_counters_schema_t *schema) {
    constexpr std::uint64_t slot_bytes = 8;
    std::uint64_t reach = schema->size;
    for (std::uint32_t i = 0; i < schema->num_groups; ++i) {
        const vrn_counter_group_t *group = schema->groups[i];
        if (!group) continue;
        const std::uint64_t slots =
            static_cast<std::uint64_t>(group->num_counters) * group->num_counter_sets;
        reach = std::max(reach, slots * slot_bytes);
    }
    return reach;
}

void vrn_counters_block_print(std::FILE *stream, const vrn_data_block_t *block,
                              const vrn_counters_schema_t *schema, bool microseconds) {
    const auto *values = reinterpret_cast<const std::uint8_t *>(block) + sizeof *block;
    vrn_counters_row_print(stream, block->timestamp,
                           {values, vrn_counters_schema_table_reach(schema)}, schema, microseconds);
}
