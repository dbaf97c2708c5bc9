#include "sample_reader.h"

#include <cstdio>
#include <cstdlib>
#include <iterator>

#include "data/data_file_header.h"
#include "reader/file_export.h"
#include "reader/reader_options.h"
#include "scan/data_file_scan.h"
#include "support/sample_files.h"

namespace vrn::fuzz {
namespace {

constexpr char metadata[] = R"({"metadata_content": {"counters": {"name_match_labels": [
{"matches_and_labels": [{"pattern_match": ["f"], "labels": {"unit": "1"}}]}]}}})";

vrn_reader_options_t make_options(vrn_output_format_t format) {
    static const test::TempDir dir;
    test::write_sample_schemas(dir);
    dir.write("schema/metadata_x.json", metadata);
    vrn_reader_options_t options{};
    options.schema_path = strdup(dir.file("schema").c_str());
    options.timestamp_lt = UINT64_MAX;
    options.format = format;
    if (!vrn_string_array_append(&options.include_counters, "*")) std::abort();
    if (!std::freopen("/dev/null", "w", stdout)) std::abort();
    return options;
}

// A chunk has as many bytes as the header says, whatever the file holds. Larger ones than any file
// here only take time to allocate.
bool has_large_blocks(Bytes file) {
    constexpr std::uint32_t limit = 1 << 20;
    constexpr std::size_t place = offsetof(vrn_data_file_header_t, block_size);
    return file.size() >= sizeof(vrn_data_file_header_t) &&
           load_le<std::uint32_t>(&file[place]) > limit;
}

// A run for each format, with options of its own.
struct Run {
    explicit Run(vrn_output_format_t format) : options(make_options(format)), run(options) {}

    vrn_reader_options_t options;
    reader::ReaderRun run;
};

}  // namespace

void read_data_file(std::uint8_t choices, Bytes file) {
    static Run runs[] = {Run(VRN_FORMAT_JSON), Run(VRN_FORMAT_NDJSON), Run(VRN_FORMAT_TXT),
                         Run(VRN_FORMAT_INFLUX)};
    if (has_large_blocks(file)) return;
    Run &run = runs[choices % std::size(runs)];
    run.options.metadata = (choices & 4) != 0;
    run.options.microsecond_precision = (choices & 8) != 0;
    run.options.print_page_info = (choices & 16) != 0;
    reader::FileExport visitor("fuzz", true, &run.run, nullptr);
    const auto source = ByteSource::open_memory(file);
    const bool done =
        scan::DataFileScan(source.get(), &run.run.schemas, &run.run.page, &visitor).run();
    visitor.end(done);
}

}  // namespace vrn::fuzz
