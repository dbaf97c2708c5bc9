#include "utils/env_lookup.h"

#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace vrn {
namespace {

constexpr std::string_view prefix = "VRN_";

// Value of the variable that is called `bare` after the prefix. The whole name is never put
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

bool EnvLookup::is_conflict() const {
    return bare_value && prefixed_value && std::strcmp(bare_value, prefixed_value) != 0;
}

EnvLookup look_up_env(const char *name) {
    // Either spelling may be asked for; both lead to one bare name.
    const char *bare = std::string_view(name).starts_with(prefix) ? name + prefix.size() : name;
    return {bare, std::getenv(bare), prefixed_value_of(bare)};
}

}  // namespace vrn

// Only the first character counts, so "true", "Yes" and "10" are true and "on" is not. Deliberate.
bool vrn_env_value_is_true(const char *value) {
    if (!value) return false;
    const int first = std::tolower(static_cast<unsigned char>(*value));
    return first == '1' || first == 't' || first == 'y';
}
