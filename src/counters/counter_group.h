// Counters and their groups.
#pragma once
#include <cstdint>
#include <cstdio>

struct vrn_counter_info_t {
    std::uint32_t id;   // set by callers that build counters in code; not stored in JSON
    char *name;         // owned
    char *description;  // owned
    char *units;        // owned
    std::uint32_t data_type;
    std::uint32_t counting_type;
    std::uint32_t offset;  // bytes into the values of a data block
    std::uint32_t length;  // bytes of a STRING; 0 means default for others
    std::uint32_t slot;
    std::uint8_t hidden;
    std::uint8_t mandatory;
    std::uint8_t index;  // position in an index list, 0 for none
    std::uint32_t string_format;
};

struct vrn_counter_group_t;

// Functions of a collecting provider; nothing in the reader fills the table.
struct vrn_provider_hooks_t {
    const char *name;
    vrn_counter_group_t *(*create_group)(const char *name, const char *provider);
    void (*destroy_group)(vrn_counter_group_t *group);
    bool (*add_counter)(vrn_counter_group_t *group, const vrn_counter_info_t *counter);
    int (*collect)(vrn_counter_group_t *group);
    int (*collect_with)(vrn_counter_group_t *group, int argument);
};

struct vrn_counter_group_t {
    const vrn_provider_hooks_t *provider_hooks;  // borrowed; null in the reader
    void *component;                             // borrowed; null in the reader
    std::uint32_t granularity;
    std::uint32_t num_counter_sets;
    std::uint32_t num_counters;
    vrn_counter_info_t **counters;  // owned array of owned counters
    char *name;                     // owned; may be null
    char *provider;                 // owned; may be null
};
