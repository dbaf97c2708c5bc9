// What the outputs of one data file share.
#pragma once

#include <cstdint>

#include "reader/reader_options.h"
#include "reader/record_output.h"

namespace vrn::reader {

struct FileOutput {
    const vrn_reader_options_t &options;
    const char *file_name;
    RecordOutput &records;
    std::uint32_t records_out = 0;  // decides the separator before a JSON record

    // "Failed processing file NAME: " and the message on standard error, whatever the log level.
    void fail(const char *format, ...) const __attribute__((format(printf, 2, 3)));

    template <typename Write>
    [[nodiscard]] bool add_record(Write write) {
        return records.add_record(records_out == 0, write);
    }
};

}  // namespace vrn::reader
