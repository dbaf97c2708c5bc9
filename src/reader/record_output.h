// The way of records to standard output.
#pragma once

#include <cstddef>

#include "data/text/json_text.h"
#include "reader/reader_options.h"
#include "utils/rollback.h"

namespace vrn::reader {

// Collects the text of records. Lasts over the files of a run.
class RecordOutput {
  public:
    explicit RecordOutput(vrn_output_format_t format);

    // The text that add_text() appends to.
    JsonText &text() { return text_; }

    // Hands the records written so far over. To be called before anything else prints.
    void flush();

    // Adds what `write` appends to the text that it is given. When that returns false or throws,
    // as it does when memory runs out, nothing is added.
    template <typename Write>
    [[nodiscard]] bool add_text(Write write) {
        Rollback added([this, start = text_.mark()] { text_.rewind(start); });
        if (!write(&text_)) return false;
        added.keep();
        if (text_.size() >= piece_size_) flush();
        return true;
    }

    // Adds a JSON record, framed as the format asks. `is_first`: of its file.
    template <typename Write>
    [[nodiscard]] bool add_record(bool is_first, Write write) {
        return add_text([&](JsonText *text) {
            if (is_pretty_ && !is_first) text->append(",\n");
            if (!write(text)) return false;
            if (!is_pretty_) text->append('\n');
            return true;
        });
    }

  private:
    bool is_pretty_;
    // Bytes of text that are worth handing over: about half a pipe, so that its two ends work at
    // the same time; a terminal shows each record at once.
    std::size_t piece_size_;
    JsonText text_;  // records of other formats use it as a plain buffer
};

}  // namespace vrn::reader
