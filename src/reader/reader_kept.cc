#include "reader/reader_kept.h"

#include <utility>

#include "reader/record_text.h"

void vrn_reader_take_over(vrn_reader_t *reader, vrn_reader_kept_t *kept) {
    reader->type_system = kept->type_system.release();  // all of it to the context
    reader->loaded = std::exchange(kept->loaded, {});
    reader->text = kept->text.release();
    reader->counters_json = kept->counters_json.release();
    reader->counters_table = kept->counters_table.release();
    reader->page = std::exchange(kept->page, {});
}

void vrn_reader_leave_behind(vrn_reader_t *reader, vrn_reader_kept_t *kept) {
    vrn_reader_flush_text(reader);
    kept->text.reset(std::exchange(reader->text, nullptr));
    kept->page = std::exchange(reader->page, {});
    if (!reader->loaded.may_be_kept) return;
    kept->type_system.reset(std::exchange(reader->type_system, nullptr));
    kept->loaded = std::exchange(reader->loaded, {});
    // Rows with metadata are prepared for those of one file.
    if (!reader->metadata) kept->counters_json.reset(std::exchange(reader->counters_json, nullptr));
    kept->counters_table.reset(std::exchange(reader->counters_table, nullptr));
}
