// Input: what another process left in a shared-memory object. The lines of its snapshot are made.
#include "data/page_snapshot.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "data/serial/influx_serializer.h"
#include "influx_types.h"

namespace {

constexpr std::size_t object_size = 4096;

// Its name is gone at once, so that nothing outlives the process however that ends.
vrn_data_page_t *create_object() {
    const vrn_page_memory_t memory = {VRN_PAGE_MEMORY_SHARED, getpid(), "vrn_fuzz"};
    vrn_data_page_t *object = vrn_data_page_allocate(0, object_size, memory);
    if (!object || shm_unlink(object->memory.name) != 0) std::abort();
    return object;
}

void fill(vrn_data_page_t *object, const std::uint8_t *data, std::size_t size) {
    auto *bytes = reinterpret_cast<std::uint8_t *>(object);
    const std::size_t filled = std::min(size, object_size);
    std::copy_n(data, filled, bytes);
    std::fill(bytes + filled, bytes + object_size, 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static const vrn_type_system_ptr types = vrn::fuzz::make_influx_types();
    static vrn_data_page_t *const object = create_object();
    fill(object, data, size);
    const vrn_data_page_ptr page(vrn_data_page_snapshot(object));
    if (!page) return 0;
    vrn_data_page_is_blob(page.get());
    vrn::data::InfluxSerializer().serialize({}, page.get(), types.get());
    return 0;
}
