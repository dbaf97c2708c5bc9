// One input, and the sound file that is made of it.
#pragma once

#include <sys/stat.h>

#include <string>

#include "scan/page_buffer.h"
#include "vrn_check/file_check.h"
#include "vrn_check/output_folder.h"
#include "vrn_check/spool.h"

namespace vrn::check {

class FileSalvage {
  public:
    // Takes faults of the input, and what its output lacks, with the path that each is of.
    using Take = std::function<void(const std::string &path, const FileFault &fault)>;

    // Borrows `output`, `schemas` and `page`.
    FileSalvage(std::string path, const OutputFolder *output, std::string name,
                SchemaTexts *schemas, scan::PageBuffer *page, Take take);

    // Checks the input and writes its output, which is the input itself when that has no fault but
    // those of its schemas. To be called once. Throws std::runtime_error when the output can't be
    // written.
    Totals run();

  private:
    void salvage(ByteSource *source);
    FileCheck::Take take_own() const;
    [[nodiscard]] bool check(const Spool &spool, const ByteSource &source);
    void finish(NewFile output);

    std::string path_;
    const OutputFolder *output_;
    std::string name_;
    std::string shown_name_;  // of the output, with its folder
    SchemaTexts *texts_;
    scan::PageBuffer *page_;
    Take take_;
    struct stat status_ {};
    Totals totals_;
};

}  // namespace vrn::check
