// State of one output stream of the data writer.
#pragma once

#include <cstdint>
#include <string>

#include "data/data_file_header.h"
#include "data/schema_id.h"
#include "utils/client_id.h"
#include "utils/descriptor.h"

// A new record has these defaults. Used from one thread; vrn_data_file_destroy ends it.
struct vrn_data_file_t {
    vrn_client_id_t client_id{};
    std::string source;
    bool last_write_ok = true;  // a stretch of failures is logged once, while this is true
    bool tag_in_path = false;   // the template names the tag as a whole folder
    std::string root_dir = ".";
    std::string path_template = "{{year}}/{{month}}{{day}}/{{source}}/{{tag}}{{id}}.bin";
    std::string tag;
    vrn::Descriptor stream;                    // closed when no append is in progress
    vrn::FileIdentity opened;                  // the file that `stream` appends to
    bool keep_open = true;                     // the handle stays open between appends
    std::string id;                            // `first_ts` in decimal; empty when that is 0
    std::uint64_t file_size = 0;               // bytes in the file, header included
    std::uint64_t first_ts = 0;                // microseconds since the epoch; 0: no file yet
    std::uint64_t last_ts = 0;                 // of the last page, also when it wasn't written
    std::string path;                          // empty when there is no current file
    std::uint64_t max_file_size = 26'214'400;  // bytes; a file that reaches it is finished
    std::uint64_t max_file_age = 900'000'000;  // microseconds that the data of a file may span
    std::uint32_t block_size = 65'536;         // goes into the header of a new file
    vrn_schema_id_t counters_schema_id{};      // go into that header as well
    vrn_schema_id_t event_schema_ids[VRN_EVENT_SCHEMA_IDS]{};
    std::uint32_t is_not_counters = 0;  // 0 for a file of counters blocks, otherwise 1
    bool has_other_blocks = false;      // the open file's header has another block size
};
