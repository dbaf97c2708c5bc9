#include "sample_reader.h"

#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <utility>

#include "data/data_file_header.h"
#include "reader/reader.h"
#include "reader/reader_kept.h"
#include "reader/reader_options.h"
#include "reader/sample_files.h"

namespace vrn::fuzz {
namespace {

constexpr char metadata[] = R"({"metadata_content": {"counters": {"name_match_labels": [
{"matches_and_labels": [{"pattern_match": ["f"], "labels": {"unit": "1"}}]}]}}})";

vrn_reader_options_t make_options() {
    static const test::TempDir dir;
    test::write_sample_schemas(dir);
    dir.write("schema/metadata_x.json", metadata);
    vrn_reader_options_t options{};
    options.schema_path = strdup(dir.file("schema").c_str());
    options.timestamp_lt = UINT64_MAX;
    if (!vrn_string_array_append(&options.include_counters, "*")) std::abort();
    if (!std::freopen("/dev/null", "w", stdout)) std::abort();
    return options;
}

void choose(std::uint8_t choices, vrn_reader_options_t *options) {
    constexpr vrn_output_format_t formats[] = {VRN_FORMAT_JSON, VRN_FORMAT_NDJSON, VRN_FORMAT_TXT,
                                               VRN_FORMAT_INFLUX};
    options->format = formats[choices % std::size(formats)];
    options->metadata = (choices & 4) != 0;
    options->microsecond_precision = (choices & 8) != 0;
    options->print_page_info = (choices & 16) != 0;
}

// A chunk has as many bytes as the header says, whatever the file holds. Larger ones than any file
// here only take time to allocate.
bool has_large_blocks(Bytes file) {
    constexpr std::uint32_t limit = 1 << 20;
    constexpr std::size_t place = offsetof(vrn_data_file_header_t, block_size);
    return file.size() >= sizeof(vrn_data_file_header_t) &&
           load_le<std::uint32_t>(&file[place]) > limit;
}

}  // namespace

void read_data_file(std::uint8_t choices, Bytes file) {
    static vrn_reader_options_t options = make_options();
    static vrn_reader_kept_t kept;
    if (has_large_blocks(file)) return;
    choose(choices, &options);
    const vrn_reader_ptr reader(vrn_reader_create("/dev/null", &options));
    delete std::exchange(reader->file, ByteSource::open_memory(file).release());  // to the reader
    vrn_reader_take_over(reader.get(), &kept);
    vrn_reader_read_file(reader.get(), true);
    vrn_reader_leave_behind(reader.get(), &kept);
}

}  // namespace vrn::fuzz
