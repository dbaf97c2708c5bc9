// Pages of --format bin on their way to data files of their own.
#pragma once

#include <cstdlib>
#include <memory>

#include "data/writer/data_writer.h"
#include "reader/page_writer.h"
#include "utils/byte_reader.h"
#include "utils/c_ptr.h"
#include "utils/client_id.h"

namespace vrn::reader {

class PageExport {
  public:
    // Null after a line.
    [[nodiscard]] static std::unique_ptr<PageExport> create(const char *output_dir);

    // The payloads of a chunk share a page, in which a shorter name leaves the end of an earlier
    // one.
    void end_chunk() { page_.reset(); }

    // Hands a decoded payload to the data writer, under the names and times of the compressed page
    // header at `header`. False after a line. Throws std::bad_alloc.
    [[nodiscard]] bool add(const void *header, Bytes payload);

  private:
    PageExport() = default;

    CPtr<vrn_client_id_t, std::free> client_id_;
    vrn_data_writer_ptr writer_;  // ends before its client
    vrn_data_page_ptr page_;
};

}  // namespace vrn::reader
