#include "utils/env.h"

#include <cctype>
#include <cstdlib>
#include <string>
#include <string_view>

#include "utils/log.h"

const char *vrn_getenv(const char *name) {
    constexpr std::string_view prefix = "VRN_";
    const std::string_view given = name;
    const std::string bare(given.starts_with(prefix) ? given.substr(prefix.size()) : given);
    const std::string prefixed = std::string(prefix) + bare;

    const char *bare_value = std::getenv(bare.c_str());
    const char *prefixed_value = std::getenv(prefixed.c_str());
    if (!prefixed_value) return bare_value;
    // The start level is exempt: the message itself would need it.
    if (bare_value && std::string_view(bare_value) != prefixed_value &&
        given != "VRN_API_LOG_LEVEL")
        VRN_LOG(VRN_LOG_WARNING, "[%s] Environment variables conflict - %s=%s and %s=%s. Using %s",
                __func__, prefixed.c_str(), prefixed_value, bare.c_str(), bare_value,
                prefixed.c_str());
    return prefixed_value;
}

bool vrn_env_value_is_true(const char *value) {
    if (!value) return false;
    const int first = std::tolower(static_cast<unsigned char>(*value));
    return first == '1' || first == 't' || first == 'y';
}
