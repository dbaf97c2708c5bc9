// A sound data file of what is left of a damaged one.
#pragma once

#include <functional>

#include "scan/page_buffer.h"
#include "utils/descriptor.h"
#include "vrn_check/header_repair.h"
#include "vrn_check/schema_guess.h"
#include "vrn_check/schema_texts.h"

namespace vrn::check {

class FileMend {
  public:
    // `leave_out` gets what the output lacks, with its place in the input. Borrows the others.
    FileMend(SchemaTexts *schemas, scan::PageBuffer *page,
             std::function<void(const FileFault &)> leave_out)
        : texts_(schemas), page_(page), leave_out_(std::move(leave_out)) {}

    // Writes the file to `output`, which is empty. Of `bytes`, scan::slack_size more can be read.
    // False when they have neither a header nor a block. Throws std::system_error when the output
    // can't be written.
    bool run(Bytes bytes, const Descriptor &output);

  private:
    TimeSpan walk(Bytes bytes, const FoundHeader &header, const KeptBlocks &kept);
    void take_schemas(FoundHeader *header);
    Misfit misfit(const FoundHeader &header);
    void tell_ids(const FoundHeader &header) const;

    SchemaTexts *texts_;
    scan::PageBuffer *page_;
    std::function<void(const FileFault &)> leave_out_;
    Bytes bytes_;
};

}  // namespace vrn::check
