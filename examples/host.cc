// host PAGE DIR TAGS: stores the shared page of a collector below DIR when its tag is one of TAGS.
#include <cstdlib>

#include <vrn/data/page_snapshot.h>
#include <vrn/data/shared_page.h>
#include <vrn/data/writer/data_writer.h>
#include <vrn/utils/log.h>
#include "sensor.h"

namespace {

vrn_data_page_ptr map_page(const char *name) {
    vrn_data_page_t *page = nullptr;
    std::int32_t creator_pid = 0;
    const std::uint64_t size = VRN_DATA_PAGE_HEADER_SIZE + chunk_size;
    const int failure = vrn_allocate_shared_mem(name, size, &page, &creator_pid);
    return vrn_data_page_ptr(failure == 0 ? page : nullptr);
}

vrn_data_writer_ptr make_writer(const char *dir, const char *tags) {
    const vrn_client_id_ptr client_id(vrn_client_id_create());
    if (!client_id) return nullptr;
    vrn_data_writer_ptr writer(vrn_data_writer_create(client_id.get()));
    const bool done = writer && vrn_data_writer_set_data_dir(writer.get(), dir) &&
                      vrn_data_writer_set_data_path_template(writer.get(), "{{tag}}{{id}}.bin") &&
                      vrn_data_writer_set_page_filter(writer.get(), tags, "", "", "", "", "");
    return done ? std::move(writer) : nullptr;
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 4) return EXIT_FAILURE;
    vrn_init_stderr_logger(VRN_LOG_WARNING);
    const vrn_data_page_ptr page = map_page(argv[1]);
    const vrn_data_writer_ptr writer = make_writer(argv[2], argv[3]);
    if (!page || !writer) return EXIT_FAILURE;
    // The writer looks at a private copy: whatever the collector does meanwhile harms nobody.
    const bool is_taken = vrn_data_writer_write_page(writer.get(), page.get(), nullptr);
    const bool is_stored = is_taken && vrn_data_writer_get_lost_pages(writer.get()) == 0;
    return is_stored ? EXIT_SUCCESS : EXIT_FAILURE;
}
