// The event that both sides of the example know: one reading of a fan.
#pragma once

#include <cstdint>

#include <vrn/data/schema/schema.h>
#include <vrn/data/schema/type_system.h>

inline constexpr std::uint32_t chunk_size = 4096;

// Rows are packed as the fields of their type lie in the schema.
#pragma pack(push, 1)
struct FanRow {
    char name[8];
    std::uint32_t rpm;
    double duty;
};
#pragma pack(pop)

// Registers the type, as number 0 of schema 0. Null after an error line.
const vrn_schema_t *add_fan_schema(vrn_type_system_t *types);
