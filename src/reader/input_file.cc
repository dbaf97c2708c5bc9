#include "reader/input_file.h"

#include <cerrno>
#include <cstring>

#include "utils/log.h"

namespace vrn::reader {

namespace {

bool open_file(const char *path, const vrn_reader_options_t &options, InputFile *file) {
    file->source = ByteSource::open_path(path);
    if (!file->source) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to open data file %s: %s", path, std::strerror(errno));
        return false;
    }
    // Each file gets a writer of its own, so that its last page is stored with the file.
    if (options.format != VRN_FORMAT_BIN) return true;
    file->pages = PageExport::create(options.output_dir);
    return file->pages != nullptr;
}

}  // namespace

bool open_input(const char *path, const vrn_reader_options_t &options, InputFile *file) {
    if (open_file(path, options, file)) return true;
    file->pages.reset();
    VRN_LOG(VRN_LOG_ERROR, "Failed to initialize reader context");
    return false;
}

bool read_file_header(const char *path, const vrn_reader_options_t &options,
                      vrn_data_file_header_t *header) {
    // All of it is opened for a look at the header, a writer of pages included: what that tells
    // belongs to a sorted run.
    InputFile file;
    if (!open_input(path, options, &file)) return false;
    vrn_data_file_header_t bytes{};
    if (file.source->read(&bytes, sizeof bytes) != sizeof bytes) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to read header from file: %s", path);
        return false;
    }
    if (!vrn_data_file_header_validate(&bytes)) {
        VRN_LOG(VRN_LOG_ERROR, "Invalid header in file: %s", path);
        return false;
    }
    *header = bytes;
    return true;
}

}  // namespace vrn::reader
