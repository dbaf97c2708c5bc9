#include "reader/page_export.h"

#include "utils/log.h"

namespace vrn::reader {

std::unique_ptr<PageExport> PageExport::create(const char *output_dir) {
    std::unique_ptr<PageExport> pages(new PageExport);
    pages->client_id_.reset(vrn_client_id_create());
    if (!pages->client_id_) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to allocate client ID");
        return nullptr;
    }
    pages->writer_.reset(vrn_data_writer_create(pages->client_id_.get()));
    if (!pages->writer_ || !vrn_data_writer_set_data_dir(pages->writer_.get(), output_dir))
        return nullptr;
    return pages;
}

bool PageExport::add(const void *header, Bytes payload) {
    page_.reset(vrn_reader_page_prepare(page_.release(), payload.size()));
    return page_ && vrn_reader_page_write(writer_.get(), payload.data(), payload.size(), header,
                                          page_.get());
}

}  // namespace vrn::reader
