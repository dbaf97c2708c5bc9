#include "vrn_export/stream_output.h"

#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include "utils/write_all.h"

namespace vrn::exporter {
namespace {

constexpr std::size_t max_waiting = 65536;

class StreamFile final : public FileOutput {
  public:
    explicit StreamFile(StreamOutput *stream) : stream_(stream) {}

    void write(const Encoded &encoded) override {
        stream_->add(encoded);
        for (const Encoded::Table &table : encoded.tables) bytes_ += table.text.size();
    }
    // Heads and tails belong to no file, and are not counted.
    void finish(FileReport *report) override { report->bytes_out = bytes_; }

  private:
    StreamOutput *stream_;
    std::uint64_t bytes_ = 0;
};

void write_out(std::string_view bytes) {
    if (!write_all(STDOUT_FILENO, bytes))
        throw std::system_error(errno, std::generic_category(), "can't write to standard output");
}

}  // namespace

std::unique_ptr<FileOutput> StreamOutput::begin_file(std::size_t /*index*/,
                                                     const InputFeed & /*feed*/) {
    return std::make_unique<StreamFile>(this);
}

void StreamOutput::add(const Encoded &encoded) {
    for (const Encoded::Table &table : encoded.tables) {
        // A table that has given no text yet must not count as a second one.
        if (table.text.size() == 0) continue;
        if (!text_) begin(table.name);
        if (table.name != table_)
            throw std::runtime_error("a stream has room for one table, and there are '" + table_ +
                                     "' and '" + table.name +
                                     "': choose one, or give a folder by --output");
        text_->add(table.text.view());
    }
}

void StreamOutput::begin(const std::string &table) {
    table_ = table;
    text_.emplace(form_, table, [this](std::string_view bytes) { write(bytes); });
}

void StreamOutput::write(std::string_view bytes) {
    // What waits goes first, so that the order of the bytes stays.
    if (waiting_.size() + bytes.size() > max_waiting) flush();
    if (bytes.size() > max_waiting)
        write_out(bytes);
    else
        waiting_.append(bytes);
}

void StreamOutput::flush() {
    write_out(waiting_.view());
    waiting_.clear();
}

void StreamOutput::finish() {
    if (!text_) begin_without_rows();
    if (text_) text_->finish();
    flush();
}

void StreamOutput::begin_without_rows() {
    // Without a table's name there is no head, but for formats that have no tables.
    if (!form_.format.has_file_per_table()) return begin("");
    // No bytes at all are no compressed file.
    TextBuffer nothing;
    Compressor(form_.compression).pack(&nothing);
    write(nothing.view());
}

}  // namespace vrn::exporter
