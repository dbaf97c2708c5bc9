// Packed versions: major in bits 0 to 7, minor in bits 8 to 15, patch in bits 16 to 31.
#pragma once

#include <cstdint>

inline constexpr std::uint32_t vrn_version_pack(std::uint8_t major, std::uint8_t minor,
                                                std::uint16_t patch) {
    return static_cast<std::uint32_t>(major) | static_cast<std::uint32_t>(minor) << 8 |
           static_cast<std::uint32_t>(patch) << 16;
}

// Format version of the data files this library writes.
inline constexpr std::uint32_t VRN_DATA_FILE_VERSION = vrn_version_pack(1, 7, 0);
// Version of schema documents, as text and packed.
inline constexpr char VRN_SCHEMA_VERSION_TEXT[] = "1.5.0";
inline constexpr std::uint32_t VRN_SCHEMA_VERSION = vrn_version_pack(1, 5, 0);

// "major.minor.patch" to packed; 0 when fewer than two numbers are found.
std::uint32_t vrn_version_parse(const char *text);

// Text of a packed version, in one static buffer that each call overwrites.
const char *vrn_version_format(std::uint32_t packed);

// Majors equal, and `current`'s minor at least `wanted`'s. Patch plays no part.
bool vrn_version_is_compatible(std::uint32_t wanted, std::uint32_t current);

// Difference of the majors or, when equal, of the minors. Patch plays no part.
int vrn_version_compare(std::uint32_t a, std::uint32_t b);

// False when either text parses to 0.
bool vrn_version_text_is_compatible(const char *wanted, const char *current);
