// Who writes data: the host and port of the collector.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "utils/c_ptr.h"

inline constexpr std::size_t VRN_HOST_NAME_SIZE = 64;

struct vrn_client_id_t {
    char host_name[VRN_HOST_NAME_SIZE];  // NUL-padded
    std::uint16_t port;                  // 0: this build has no port
};
static_assert(sizeof(vrn_client_id_t) == 66);
static_assert(offsetof(vrn_client_id_t, port) == 64);

// The id of this host, with `vrn_get_host_name` as its name; ends with free(). Null without a line
// when there is no name or no memory.
[[nodiscard]] vrn_client_id_t *vrn_client_id_create();
using vrn_client_id_ptr = vrn::CPtr<vrn_client_id_t, std::free>;

void vrn_client_id_copy(vrn_client_id_t *to, const vrn_client_id_t *from);

// Prints the layout of the record to standard output: name, offset and size of each field.
void vrn_client_id_print_fields();
