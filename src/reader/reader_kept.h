// What the context of one file leaves to the next file of a run: the schemas it loaded and its
// buffers. Files of one collector mostly name the same schemas.
#pragma once

#include <cstdlib>
#include <memory>

#include "reader/reader.h"

struct vrn_reader_kept_t {
    vrn_type_system_ptr type_system;
    vrn_loaded_schemas_t loaded{};
    std::unique_ptr<vrn::JsonText> text;
    std::unique_ptr<vrn::CountersJsonWriter> counters_json;  // writes to `text`
    std::unique_ptr<vrn::CountersTable> counters_table;
    vrn_page_buffer_t page{};

    ~vrn_reader_kept_t() { std::free(page.bytes); }
};

// Moves all of it to a new context.
void vrn_reader_take_over(vrn_reader_t *reader, vrn_reader_kept_t *kept);
// Moves it out of a context that is about to be destroyed.
void vrn_reader_leave_behind(vrn_reader_t *reader, vrn_reader_kept_t *kept);
