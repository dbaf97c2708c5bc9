#include "reader/reader.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "data/writer/data_writer.h"
#include "metrics/metrics_json_writer.h"
#include "reader/block_walk.h"
#include "reader/file_entry.h"
#include "reader/reader_kept.h"
#include "reader/record_text.h"
#include "reader/schema_load.h"
#include "utils/log.h"

namespace {

constexpr std::uint32_t min_block_size = 16;
constexpr std::uint32_t block_size_limit = 125829120;  // one above the highest that passes

// Reads the header into the context. False when the file holds fewer bytes.
bool read_header_bytes(vrn_reader_t *reader) {
    return reader->file->read(&reader->header, sizeof reader->header) == sizeof reader->header;
}

bool check_block_size(const vrn_reader_t *reader) {
    const std::uint32_t size = reader->header.block_size;
    if (size >= min_block_size && size < block_size_limit) return true;
    vrn_reader_fail(reader, "Block size %d must be in range between %zu and %d bytes ",
                    static_cast<int>(size), static_cast<std::size_t>(min_block_size),
                    static_cast<int>(block_size_limit));
    return false;
}

bool open_records(vrn_reader_t *reader) {
    if (!read_header_bytes(reader)) {
        vrn_reader_fail(reader, "Failed reading data file header: %s", reader->file->error_text());
        return false;
    }
    // Printed before the check, so that a bad header is still shown.
    if (reader->options->print_page_info) vrn_data_file_header_print(stdout, &reader->header);
    if (!vrn_data_file_header_validate(&reader->header)) {
        vrn_reader_fail(reader, "Invalid data file header");
        return false;
    }
    if (!check_block_size(reader)) return false;
    if (!vrn_reader_load_type_system(reader, reader->header.event_schema_ids,
                                     VRN_EVENT_SCHEMA_IDS)) {
        vrn_reader_fail(reader, "Failed to load type system");
        return false;
    }
    if (reader->options->metadata)
        reader->metadata = vrn_metadata_load(reader->options->schema_path);
    return true;
}

// File name without folders, up to its first point.
std::string_view array_name(std::string_view path) {
    const std::string_view name = path.substr(path.rfind('/') + 1);
    return name.substr(0, name.find('.'));
}

bool read_blocks_as_json_array(vrn_reader_t *reader, bool is_first) {
    if (!is_first) std::fputs(",", stdout);
    const std::string_view name = array_name(reader->file_name);
    std::printf("\"%.*s\":[", static_cast<int>(name.size()), name.data());
    // After a failure the array stays open: what was written stands.
    if (!vrn_reader_read_blocks(reader)) return false;
    std::fputs("]", stdout);
    return true;
}

// As vrn_read_data_file, for one file of a run.
bool read_next_file(const char *path, const vrn_reader_options_t *options, bool is_first,
                    vrn_reader_kept_t *kept) {
    const vrn_reader_ptr reader(vrn_reader_create(path, options));
    if (!reader) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to initialize reader context");
        return false;
    }
    vrn_reader_take_over(reader.get(), kept);
    const bool done = vrn_reader_read_file(reader.get(), is_first);
    vrn_reader_leave_behind(reader.get(), kept);
    return done;
}

// -1 when the files could not be put in order; nothing is read then.
std::int32_t read_sorted_files(const vrn_reader_options_t *options) {
    const std::size_t count = options->data_files->count;
    vrn_file_entry_t *entries = vrn_file_entries_load(options);
    if (!entries) return -1;
    vrn_reader_kept_t kept;
    std::int32_t failed = 0;
    for (std::size_t i = 0; i < count; ++i)
        if (!read_next_file(entries[i].path, options, i == 0, &kept)) ++failed;
    vrn_file_entries_free(entries, count);
    return failed;
}

std::int32_t read_listed_files(const vrn_reader_options_t *options) {
    vrn_reader_kept_t kept;
    std::int32_t failed = 0;
    for (std::size_t i = 0; i < options->data_files->count; ++i)
        if (!read_next_file(options->data_files->strings[i], options, i == 0, &kept)) ++failed;
    return failed;
}

bool open_data_writer(vrn_reader_t *reader) {
    reader->client_id = vrn_client_id_create();
    if (!reader->client_id) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to allocate client ID");
        return false;
    }
    reader->data_writer = vrn_data_writer_create(reader->client_id);
    return reader->data_writer &&
           vrn_data_writer_set_data_dir(reader->data_writer, reader->options->output_dir);
}

}  // namespace

vrn_reader_t *vrn_reader_create(const char *path, const vrn_reader_options_t *options) {
    vrn_reader_ptr reader(static_cast<vrn_reader_t *>(std::calloc(1, sizeof(vrn_reader_t))));
    if (!reader) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to allocate reader context %s", std::strerror(errno));
        return nullptr;
    }
    reader->options = options;
    reader->file_name = path;
    errno = 0;
    reader->file = vrn::ByteSource::open_path(path).release();  // to the context
    if (!reader->file) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to open data file %s: %s", path, std::strerror(errno));
        return nullptr;
    }
    if (options->format == VRN_FORMAT_BIN && !open_data_writer(reader.get())) return nullptr;
    return reader.release();  // to the caller
}

void vrn_reader_destroy(vrn_reader_t *reader) {
    if (!reader) return;
    vrn_reader_flush_text(reader);
    vrn_data_writer_destroy(reader->data_writer);
    std::free(reader->client_id);
    std::free(reader->page.bytes);
    delete reader->counters_json;
    delete reader->counters_table;
    delete reader->metrics_writer;
    vrn_type_system_destroy(reader->type_system);
    vrn_metadata_free(reader->metadata);
    delete reader->file;
    delete reader->text;
    std::free(reader);
}

std::int32_t vrn_read_all_files(const vrn_reader_options_t *options) {
    const bool is_json = options->format == VRN_FORMAT_JSON;
    if (is_json) std::fputs("{", stdout);
    const std::int32_t failed =
        options->sort_files ? read_sorted_files(options) : read_listed_files(options);
    if (failed < 0) return 1;  // the brace stays open
    if (is_json) std::fputs("}", stdout);
    return failed;
}

bool vrn_read_data_file(const char *path, const vrn_reader_options_t *options, bool is_first) {
    vrn_reader_kept_t kept;
    return read_next_file(path, options, is_first, &kept);
}

bool vrn_reader_read_file(vrn_reader_t *reader, bool is_first) {
    VRN_LOG(VRN_LOG_DEBUG, "Processing data file %s", reader->file_name);
    if (!open_records(reader)) return false;
    const bool done = reader->options->format == VRN_FORMAT_JSON
                          ? read_blocks_as_json_array(reader, is_first)
                          : vrn_reader_read_blocks(reader);
    if (!done) vrn_reader_fail(reader, "Failed to process data file %s", reader->file_name);
    return done;
}

bool vrn_reader_read_file_header(const char *path, const vrn_reader_options_t *options,
                                 vrn_data_file_header_t *header) {
    const vrn_reader_ptr reader(vrn_reader_create(path, options));
    if (!reader) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to initialize reader context");
        return false;
    }
    if (!read_header_bytes(reader.get())) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to read header from file: %s", path);
        return false;
    }
    if (!vrn_data_file_header_validate(&reader->header)) {
        VRN_LOG(VRN_LOG_ERROR, "Invalid header in file: %s", path);
        return false;
    }
    *header = reader->header;
    return true;
}

void vrn_reader_fail(const vrn_reader_t *reader, const char *format, ...) {
    std::fprintf(stderr, "Failed processing file %s: ", reader->file_name);
    std::va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
    std::fputc('\n', stderr);
    std::fflush(stderr);
}
