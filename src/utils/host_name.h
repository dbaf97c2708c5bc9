// The name of this host.
#pragma once

#include <cstddef>

// Writes the host's name to `buffer`, cut to `size` - 1 characters: VRN_HOST_NAME as it stands or,
// when that is unset, the system's name up to its first dot. Returns `buffer`; null with errno set,
// without a line, when the system's name is not to be had or does not fit.
[[nodiscard]] char *vrn_get_host_name(char *buffer, std::size_t size);
