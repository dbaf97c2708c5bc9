// Environment variables under their two spellings, looked up without a log.
#pragma once

namespace vrn {

// A variable that may be set as NAME and as VRN_NAME. Texts belong to the environment and to the
// caller of look_up_env.
struct EnvLookup {
    const char *bare_name;
    const char *bare_value;      // null: not set
    const char *prefixed_value;  // null: not set

    // The prefixed spelling wins. Null when neither is set.
    const char *value() const { return prefixed_value ? prefixed_value : bare_value; }
    bool is_conflict() const;
};

// `name` in either spelling. Takes no memory.
EnvLookup look_up_env(const char *name);

}  // namespace vrn

// True when the first character, lower-cased, is '1', 't' or 'y'. False for null and empty.
bool vrn_env_value_is_true(const char *value);
