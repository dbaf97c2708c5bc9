#include "data/version.h"

#include <cstdio>

namespace {

std::uint8_t major_of(std::uint32_t packed) {
    return static_cast<std::uint8_t>(packed);
}
std::uint8_t minor_of(std::uint32_t packed) {
    return static_cast<std::uint8_t>(packed >> 8);
}
std::uint16_t patch_of(std::uint32_t packed) {
    return static_cast<std::uint16_t>(packed >> 16);
}

}  // namespace

std::uint32_t vrn_version_parse(const char *text) {
    std::uint8_t major = 0;
    std::uint8_t minor = 0;
    std::uint16_t patch = 0;
    // Numbers above their width wrap, as this format does; the blank lets a space precede patch.
    const int fields = std::sscanf(text, "%hhu.%hhu .%hu", &major, &minor, &patch);  // NOLINT
    return fields < 2 ? 0 : vrn_version_pack(major, minor, patch);
}

const char *vrn_version_format(std::uint32_t packed) {
    // Each call overwrites the text before; the longest text, 255.255.65535, fits.
    static char buffer[16];
    std::snprintf(buffer, sizeof buffer, "%hhu.%hhu.%hu", major_of(packed), minor_of(packed),
                  patch_of(packed));
    return buffer;
}

// A newer minor reads the older ones, not the reverse. The patch plays no part here nor below.
bool vrn_version_is_compatible(std::uint32_t wanted, std::uint32_t current) {
    return major_of(wanted) == major_of(current) && minor_of(current) >= minor_of(wanted);
}

int vrn_version_compare(std::uint32_t a, std::uint32_t b) {
    const int majors = major_of(a) - major_of(b);
    return majors != 0 ? majors : minor_of(a) - minor_of(b);
}

bool vrn_version_text_is_compatible(const char *wanted, const char *current) {
    const std::uint32_t wanted_packed = vrn_version_parse(wanted);
    const std::uint32_t current_packed = vrn_version_parse(current);
    // 0 stands for a text that is no version; "0.0.0" is refused with it.
    return wanted_packed != 0 && current_packed != 0 &&
           vrn_version_is_compatible(wanted_packed, current_packed);
}
