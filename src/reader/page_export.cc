#include "reader/page_export.h"

#include <new>

#include "utils/log.h"
#include "utils/with_memory.h"

namespace vrn::reader {

std::unique_ptr<PageExport> PageExport::create(const char *output_dir) {
    std::unique_ptr<PageExport> pages(new (std::nothrow) PageExport);
    if (pages) pages->client_id_.reset(vrn_client_id_create());
    if (!pages || !pages->client_id_) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to allocate client ID");
        return nullptr;
    }
    pages->writer_.reset(vrn_data_writer_create(pages->client_id_.get()));
    if (!pages->writer_ || !vrn_data_writer_set_data_dir(pages->writer_.get(), output_dir))
        return nullptr;
    return pages;
}

bool PageExport::add(const void *header, Bytes payload) {
    // Pages of a file mostly have one size: the page before is filled again.
    page_.reset(vrn_reader_page_prepare(page_.release(), payload.size()));
    if (!page_) throw std::bad_alloc();
    // The writer goes on after a lost page, whatever the cause.
    return with_memory([&] {
        return vrn_reader_page_write(writer_.get(), payload.data(), payload.size(), header,
                                     page_.get());
    });
}

}  // namespace vrn::reader
