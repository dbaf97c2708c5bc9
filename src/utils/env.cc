#include "utils/env.h"

#include <cstring>

#include "utils/log.h"

const char *vrn_getenv(const char *name) {
    const vrn::EnvLookup found = vrn::look_up_env(name);
    // The start level is exempt: the message itself would need it.
    const bool is_told = std::strcmp(name, "VRN_API_LOG_LEVEL") != 0;
    if (is_told && found.is_conflict()) vrn_log_env_conflict(found);
    return found.value();
}
