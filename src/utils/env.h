// Environment variables, spelled with or without the VRN_ prefix.
#pragma once

#include "utils/env_lookup.h"

// Value of `name` under its prefixed or its bare spelling, or null; the prefixed one wins, after a
// level 4 line when the two differ. The text belongs to the environment.
const char *vrn_getenv(const char *name);
