// collector DIR TAG: fills a shared page with readings of a fan, prints the page's name, and keeps
// the page until standard input ends. DIR/schema receives the schema.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include <vrn/data/schema/schema_json.h>
#include <vrn/data/text/json_value.h>
#include <vrn/data/time.h>
#include <vrn/data/writer/schema_writer.h>
#include "fan_page.h"

namespace {

// Stores the schema and gives the id that names its file: the digest of its compact text.
bool announce_schema(const char *dir, vrn_schema_id_t *id) {
    const vrn_type_system_ptr types(vrn_type_system_create());
    const vrn_schema_t *schema = types ? add_fan_schema(types.get()) : nullptr;
    if (!schema) return false;
    const vrn_json_value_ptr json(vrn_schema_to_json(schema));
    const vrn_json_text_ptr text(json_serialize_to_string(json.get()));
    const vrn_schema_writer_ptr writer(vrn_schema_writer_create());
    return writer && vrn_schema_writer_set_data_dir(writer.get(), dir) &&
           vrn_schema_writer_on_schema(writer.get(), json.get()) &&
           vrn_md5_of_string(text.get(), id);
}

bool set_source(vrn_data_page_t *page, const char *tag) {
    const vrn_source_ptr source(vrn_source_create_default(tag));
    if (source) vrn_source_copy(&page->source, source.get());
    return source != nullptr;
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 3) return EXIT_FAILURE;
    vrn_schema_id_t id{};
    if (!announce_schema(argv[1], &id)) return EXIT_FAILURE;

    const vrn_page_memory_t memory = {VRN_PAGE_MEMORY_SHARED, getpid(), "fans"};
    const vrn_data_page_ptr page(
        vrn_data_page_allocate(chunk_size, VRN_DATA_PAGE_HEADER_SIZE + chunk_size, memory));
    if (!page || !set_source(page.get(), argv[2])) return EXIT_FAILURE;
    vrn_data_page_set_first_ts(page.get());
    put_schemas_block(page.get(), id);
    for (std::uint32_t i = 0; i < 3; ++i)
        put_fan(page.get(), vrn_time_now(), {"cpu", 1200 + i, 0.5});

    std::puts(page->memory.name);
    std::fflush(stdout);
    while (std::getchar() != EOF) {
    }
    return EXIT_SUCCESS;  // the page goes, and its name with it
}
