#include "utils/client_id.h"

#include <cstdio>
#include <cstdlib>

#include "utils/host_name.h"

vrn_client_id_t *vrn_client_id_create() {
    vrn_client_id_ptr id(static_cast<vrn_client_id_t *>(std::calloc(1, sizeof(vrn_client_id_t))));
    if (!id || !vrn_get_host_name(id->host_name, sizeof id->host_name)) return nullptr;
    return id.release();  // to the caller
}

void vrn_client_id_copy(vrn_client_id_t *to, const vrn_client_id_t *from) {
    *to = *from;
}

void vrn_client_id_print_fields() {
    // The table is part of the output: widths and the doubled line feed of the title are pinned.
    constexpr char row[] = " %-25s  %-8zu  %-zu\n";
    std::puts("Client identifier vrn_client_id_t\n");  // and an empty line
    std::puts("Field                 Offset    Size");
    std::printf(row, "host_name", offsetof(vrn_client_id_t, host_name),
                sizeof vrn_client_id_t::host_name);
    std::printf(row, "port", offsetof(vrn_client_id_t, port), sizeof vrn_client_id_t::port);
}
