#include "reader/reader.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

#include "reader/file_entry.h"
#include "reader/file_export.h"
#include "reader/input_file.h"
#include "scan/data_file_scan.h"
#include "utils/catch_all.h"
#include "utils/log.h"

namespace {

using vrn::reader::FileExport;
using vrn::reader::InputFile;
using vrn::reader::ReaderRun;

// Null after a message when memory runs out.
std::unique_ptr<ReaderRun> begin_run(const vrn_reader_options_t *options) {
    std::unique_ptr<ReaderRun> run;
    if (!vrn::catch_all([&] { run = std::make_unique<ReaderRun>(*options); }))
        std::fprintf(stderr, "Failed to begin: %s\n", std::strerror(ENOMEM));
    return run;
}

// As vrn_read_data_file, for one file of a run.
bool read_next_file(const char *path, bool is_first, ReaderRun *run) {
    InputFile input;
    if (!vrn::reader::open_input(path, run->options, &input)) return false;
    VRN_LOG(VRN_LOG_DEBUG, "Processing data file %s", path);
    FileExport file(path, is_first, run, input.pages.get());
    vrn::scan::DataFileScan scan(input.source.get(), &run->schemas, &run->page, &file);
    bool done = false;
    try {
        done = scan.run();
    } catch (const std::bad_alloc &) {
        // Memory of this file is free again: the next one has its chance.
        file.give_up(std::strerror(ENOMEM));
    }
    file.end(done);
    // What the data writer tells comes before what the end of the schemas tells.
    input.pages.reset();
    return done;
}

// -1 when the files could not be put in order; nothing is read then.
std::int32_t read_sorted_files(ReaderRun *run) {
    const std::size_t count = run->options.data_files->count;
    vrn_file_entry_t *entries = vrn_file_entries_load(&run->options);
    if (!entries) return -1;
    std::int32_t failed = 0;
    for (std::size_t i = 0; i < count; ++i)
        if (!read_next_file(entries[i].path, i == 0, run)) ++failed;
    vrn_file_entries_free(entries, count);
    return failed;
}

std::int32_t read_listed_files(ReaderRun *run) {
    std::int32_t failed = 0;
    for (std::size_t i = 0; i < run->options.data_files->count; ++i)
        if (!read_next_file(run->options.data_files->strings[i], i == 0, run)) ++failed;
    return failed;
}

}  // namespace

std::int32_t vrn_read_all_files(const vrn_reader_options_t *options) {
    const std::unique_ptr<ReaderRun> run = begin_run(options);
    if (!run) return std::max(1, static_cast<std::int32_t>(options->data_files->count));
    const bool is_json = options->format == VRN_FORMAT_JSON;
    if (is_json) std::fputs("{", stdout);
    const std::int32_t failed =
        options->sort_files ? read_sorted_files(run.get()) : read_listed_files(run.get());
    if (failed < 0) return 1;  // the brace stays open
    if (is_json) std::fputs("}", stdout);
    return failed;
}

bool vrn_read_data_file(const char *path, const vrn_reader_options_t *options, bool is_first) {
    const std::unique_ptr<ReaderRun> run = begin_run(options);
    return run && read_next_file(path, is_first, run.get());
}
