#include "utils/env.h"

#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <string_view>

#include "utils/log.h"

namespace {

constexpr std::string_view prefix = "VRN_";

// Value of the variable that is called `bare` behind the prefix. The whole name is never put
// together: memory can't run out here.
const char *prefixed_value_of(std::string_view bare) {
    for (char **entry = environ; entry && *entry; ++entry) {
        std::string_view rest = *entry;
        if (!rest.starts_with(prefix)) continue;
        rest.remove_prefix(prefix.size());
        if (!rest.starts_with(bare)) continue;
        rest.remove_prefix(bare.size());
        if (rest.starts_with('=')) return rest.data() + 1;
    }
    return nullptr;
}

}  // namespace

const char *vrn_getenv(const char *name) {
    const std::string_view given = name;
    const char *bare = given.starts_with(prefix) ? name + prefix.size() : name;
    const char *bare_value = std::getenv(bare);
    const char *prefixed_value = prefixed_value_of(bare);
    if (!prefixed_value) return bare_value;
    // The start level is exempt: the message itself would need it.
    if (bare_value && std::string_view(bare_value) != prefixed_value &&
        given != "VRN_API_LOG_LEVEL")
        VRN_LOG(VRN_LOG_WARNING,
                "[%s] Environment variables conflict - VRN_%s=%s and %s=%s. Using VRN_%s", __func__,
                bare, prefixed_value, bare, bare_value, bare);
    return prefixed_value;
}

bool vrn_env_value_is_true(const char *value) {
    if (!value) return false;
    const int first = std::tolower(static_cast<unsigned char>(*value));
    return first == '1' || first == 't' || first == 'y';
}
