// Environment variables, spelled with or without the VRN_ prefix.
#pragma once

// Value of `name` under its prefixed or its bare spelling, or null; the prefixed one wins, after a
// level 4 line when the two differ. The text belongs to the environment.
const char *vrn_getenv(const char *name);

// True when the first character, lower-cased, is '1', 't' or 'y'. False for null and empty.
bool vrn_env_value_is_true(const char *value);
