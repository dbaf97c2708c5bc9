// What a format makes of the records of data files: text, in tables.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "data/data_file_header.h"
#include "data/text/text_buffer.h"
#include "scan/visitor.h"
#include "vrn_export/format/selection.h"

namespace vrn::exporter {

enum class FormatKind : std::uint8_t { ndjson, csv, lines, openmetrics };

struct FormatOptions {
    FormatKind kind = FormatKind::ndjson;
    bool iso_times = false;                 // times as ISO 8601 texts in UTC, not as microseconds
    std::vector<std::string> tag_fields{};  // fields that are tags or labels
    SelectionOptions selection{};
};

struct RecordCounts {
    std::uint64_t events = 0;
    std::uint64_t counters = 0;
    std::uint64_t samples = 0;  // of metrics
    std::uint64_t histograms = 0;
    std::uint64_t dropped_values = 0;  // that the format has no form for
    std::uint64_t changed_values = 0;  // written in another form, such as an integer as a float

    RecordCounts &operator+=(const RecordCounts &other);
};

struct FoundFault {
    std::uint64_t offset;  // in the decompressed file; of a page, where it begins
    std::uint64_t length;  // bytes that no record comes out of
    std::string kind;      // a word for programs
    std::string reason;
};

// What became of one run of chunks. Used for one run after the other it keeps its memory.
struct Encoded {
    struct Table {
        std::string name;  // of an event type or a counter group; "" when the format has no tables
        TextBuffer text;
    };
    std::vector<Table> tables;  // in the order in which they were met
    RecordCounts counts;
    std::vector<FoundFault> faults;

    void clear();
    // Index of the table, which is added when it isn't there yet.
    std::size_t find_table(const std::string &name);

  private:
    std::vector<TextBuffer> spare_;
};

// Appends `fault`, or adds its length to the one before it when that is of the same kind and reason
// and both are the schema's: data that no schema describes is told once, not block by block. Also
// for the faults of runs that follow each other.
void append_fault(FoundFault fault, std::vector<FoundFault> *faults);

// True when the cause lies outside of the file's bytes (the disk, memory, a schema) and may be gone
// when the file is read again.
bool lies_outside_file(const FoundFault &fault);

// The visitor of one thread: puts the records of one run of chunks after the other into text. It
// goes on after every fault.
class Encoder : public scan::Visitor {
  public:
    // Files and runs begin by these, in any order of files; both are borrowed until the next call.
    virtual void begin_file(const std::string &path, const vrn_data_file_header_t &header) = 0;
    virtual void begin_run(Encoded *to) = 0;
};

// One format with its options, for all threads of a run.
class Format {
  public:
    virtual ~Format() = default;

    virtual std::unique_ptr<Encoder> make_encoder() const = 0;

    // False when no record of a file can be selected, by what its header says.
    virtual bool takes_file(const vrn_data_file_header_t &header) const = 0;

    virtual const char *suffix() const = 0;  // of its files: ".ndjson"
    // True when each table goes to a file of its own.
    virtual bool has_file_per_table() const { return false; }
    // Schemas that files may name. Of formats whose text depends on all of them; they are learned
    // before an encoder is made.
    virtual void learn(const scan::LoadedSchemas & /*schemas*/) {}
    virtual bool wants_schemas() const { return false; }
    // What each output (of a table) begins and ends with.
    virtual std::string head(const std::string & /*table*/) const { return ""; }
    virtual std::string tail() const { return ""; }
    // True when each line begins with a key that a tab ends: the lines of an output are sorted by
    // their keys as SortedSpool does, and the keys are left out.
    virtual bool sorts_lines() const { return false; }
};

// Throws tool::UsageError for options that the format can't follow, std::runtime_error for set
// files that can't be read.
std::unique_ptr<Format> make_format(const FormatOptions &options);

}  // namespace vrn::exporter
