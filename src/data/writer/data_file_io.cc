#include "data/writer/data_file_io.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <boost/filesystem.hpp>
#include <cerrno>
#include <cstring>

#include "data/writer/data_file.h"
#include "utils/log.h"

namespace fs = boost::filesystem;

namespace {

constexpr std::size_t header_size = sizeof(vrn_data_file_header_t);

// No buffer stands between the caller and the kernel, so a killed process loses nothing.
vrn_stream_ptr open_unbuffered(const std::string &path, const char *mode) {
    vrn_stream_ptr stream(std::fopen(path.c_str(), mode));
    if (stream) std::setvbuf(stream.get(), nullptr, _IONBF, 0);
    return stream;
}

bool read_header(std::FILE *stream, vrn_data_file_header_t *header) {
    errno = 0;
    return std::fread(header, header_size, 1, stream) == 1;
}

bool write_header(std::FILE *stream, const vrn_data_file_header_t *header) {
    return std::fwrite(header, header_size, 1, stream) == 1;
}

// Texts are cut to leave a terminator.
template <std::size_t N>
void copy_text(char (&field)[N], const std::string &text) {
    std::strncpy(field, text.c_str(), N - 1);
}

vrn_data_file_header_ptr make_header(const vrn_data_file_t *file) {
    vrn_data_file_header_ptr header(vrn_data_file_header_create());
    if (!header) return nullptr;
    header->first_timestamp = file->first_ts;
    header->block_size = file->block_size;
    copy_text(header->source_id, file->source);
    copy_text(header->source_tag, file->tag);
    header->counters_schema_id = file->counters_schema_id;
    std::memcpy(header->event_schema_ids, file->event_schema_ids, sizeof file->event_schema_ids);
    return header;
}

bool write_new_header(vrn_data_file_t *file, std::FILE *stream) {
    const vrn_data_file_header_ptr header = make_header(file);
    if (!header) {
        if (file->last_write_ok)
            VRN_LOG(VRN_LOG_ERROR, "[data_file] Failed allocating file header buffer: %s",
                    std::strerror(errno));
        return false;
    }
    if (!write_header(stream, header.get())) {
        if (file->last_write_ok)
            VRN_LOG(VRN_LOG_ERROR, "[data_file] Failed writing header of the data file %s: %s",
                    file->path.c_str(), std::strerror(errno));
        return false;
    }
    file->file_size = header->file_size;
    return true;
}

// Takes back the last `bytes` of the open file; one that holds nothing else goes. Other streams may
// share it, so the cut goes by its present end and not by `file_size`. False when they stay.
bool cut_back(const vrn_data_file_t *file, std::uint64_t bytes) {
    struct stat status;
    const int descriptor = ::fileno(file->stream.get());
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) return true;
    const auto size = static_cast<std::uint64_t>(status.st_size);
    if (size < bytes) return true;
    if (bytes != 0 && ::ftruncate(descriptor, static_cast<off_t>(size - bytes)) != 0) return false;
    // Otherwise each page that finds the disk full would leave a file without data.
    if (size - bytes == header_size) ::unlink(file->path.c_str());
    return true;
}

// The header's failures belong to the same stretch, so they are still told. Always 0.
std::uint64_t give_up_file(vrn_data_file_t *file) {
    vrn_data_file_finish(file);
    file->last_write_ok = false;
    return 0;
}

// `appended` bytes reached the file. Always 0.
std::uint64_t give_up_append(vrn_data_file_t *file, std::uint64_t appended) {
    if (!cut_back(file, appended)) {
        // The header must not count the torn bytes: so the next writer of the file can cut them.
        file->stream.reset();
        file->path.clear();
    }
    return give_up_file(file);
}

// Bytes in the file, also those of other streams that share it.
std::uint64_t size_of(std::FILE *stream, const vrn_data_file_t *file) {
    struct stat status;
    const bool is_known = ::fstat(::fileno(stream), &status) == 0 && S_ISREG(status.st_mode);
    return is_known ? static_cast<std::uint64_t>(status.st_size) : file->file_size;
}

bool rewrite_header(const vrn_data_file_t *file, std::FILE *stream) {
    const char *path = file->path.c_str();
    vrn_data_file_header_t header;
    if (!read_header(stream, &header)) {
        if (file->last_write_ok)
            VRN_LOG(VRN_LOG_ERROR, "[data_file] Failed reading header of data file %s: %s", path,
                    std::strerror(errno));
        return false;
    }
    if (!vrn_data_file_header_validate(&header)) {
        VRN_LOG(VRN_LOG_ERROR, "[data_file] Header of file %s is invalid. Will not update.", path);
        return false;
    }
    if (header.first_timestamp == 0) header.first_timestamp = file->first_ts;
    header.last_timestamp = file->last_ts;
    header.file_size = size_of(stream, file);
    if (std::fseek(stream, 0, SEEK_SET) != 0) {
        if (file->last_write_ok)
            VRN_LOG(VRN_LOG_ERROR, "[data_file] Failed moving to the beginning of file %s: %s",
                    path, std::strerror(errno));
        return false;
    }
    if (!write_header(stream, &header)) {
        if (file->last_write_ok)
            VRN_LOG(VRN_LOG_ERROR, "[data_file] Failed writing data page header to file %s: %s",
                    path, std::strerror(errno));
        return false;
    }
    VRN_LOG(VRN_LOG_DEBUG, "[data_file] updated header %s with last_ts :%lu", path, file->last_ts);
    return true;
}

bool rewrite_header_on_disk(const vrn_data_file_t *file) {
    const vrn_stream_ptr stream = open_unbuffered(file->path, "rb+");
    if (!stream) {
        if (file->last_write_ok)
            VRN_LOG(VRN_LOG_ERROR, "[data_file] Failed opening data file %s: %s",
                    file->path.c_str(), std::strerror(errno));
        return false;
    }
    return rewrite_header(file, stream.get());
}

// Bytes at the end that are no whole block, counted from where the header tells that a page ended.
std::uint64_t torn_bytes(const vrn_data_file_header_t &header, std::uint64_t size) {
    if (!vrn_data_file_header_is_valid(&header) || header.block_size == 0) return 0;
    return (size - (header.file_size <= size ? header.file_size : header_size)) % header.block_size;
}

// Whether the file has a header of another block size than the stream's.
bool has_other_blocks(const vrn_data_file_t *file) {
    const vrn_stream_ptr stream = open_unbuffered(file->path, "rb");
    vrn_data_file_header_t header;
    return stream && read_header(stream.get(), &header) && vrn_data_file_header_is_valid(&header) &&
           header.block_size != file->block_size;
}

bool open_for_append(vrn_data_file_t *file) {
    file->stream = open_unbuffered(file->path, "ab");
    if (!file->stream) return false;
    file->has_other_blocks = has_other_blocks(file);
    return true;
}

// A file that has no name yet, in the folder of `path`; null where there are none such.
vrn_stream_ptr open_nameless(const std::string &path) {
    const std::string folder = fs::path(path).parent_path().string();
    const int descriptor =
        ::open(folder.empty() ? "." : folder.c_str(), O_TMPFILE | O_WRONLY, 0666);
    if (descriptor < 0) return nullptr;
    vrn_stream_ptr stream(::fdopen(descriptor, "wb"));
    if (stream)
        std::setvbuf(stream.get(), nullptr, _IONBF, 0);
    else
        ::close(descriptor);
    return stream;
}

// Fails when something has the name.
bool give_name(std::FILE *stream, const std::string &path) {
    const std::string file = "/proc/self/fd/" + std::to_string(::fileno(stream));
    return ::linkat(AT_FDCWD, file.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

// Where files can't be made without a name, and over the part of a header: a process that is killed
// here leaves a file that vrn_data_file_has_content tells from a data file.
bool create_in_place(vrn_data_file_t *file) {
    const vrn_stream_ptr stream = open_unbuffered(file->path, "wb");
    if (!stream) {
        if (file->last_write_ok)
            VRN_LOG(VRN_LOG_ERROR, "[data_file] Failed to open file %s for writing: %s",
                    file->path.c_str(), std::strerror(errno));
        return false;
    }
    if (write_new_header(file, stream.get())) return true;
    const int cause = errno;
    ::unlink(file->path.c_str());
    errno = cause;
    return false;
}

}  // namespace

bool vrn_data_file_has_content(const std::string &path) {
    boost::system::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (!fs::exists(status)) return false;
    if (!fs::is_regular_file(status)) return true;
    const std::uintmax_t size = fs::file_size(path, error);
    return error || size >= header_size;
}

bool vrn_data_file_is_present(const vrn_data_file_t *file) {
    boost::system::error_code ignored;
    if (!fs::exists(file->path, ignored)) return false;
    struct stat status;
    return !file->stream || ::fstat(::fileno(file->stream.get()), &status) != 0 ||
           status.st_nlink != 0;
}

bool vrn_data_file_create(vrn_data_file_t *file) {
    // With its header whole before it can be seen, so that a killed process leaves all or nothing.
    if (const vrn_stream_ptr stream = open_nameless(file->path)) {
        if (!write_new_header(file, stream.get())) return false;
        if (give_name(stream.get(), file->path)) return true;
    }
    return create_in_place(file);
}

std::uint64_t vrn_data_file_append(vrn_data_file_t *file, const void *data, std::uint64_t size) {
    if (!file->stream && !open_for_append(file)) {
        if (file->last_write_ok)
            VRN_LOG(VRN_LOG_ERROR, "[data_file] Failed to open data file %s for writing: %s",
                    file->path.c_str(), std::strerror(errno));
        return give_up_file(file);
    }
    const std::size_t written = std::fwrite(data, 1, size, file->stream.get());
    if (written != size) {
        if (file->last_write_ok)
            VRN_LOG(VRN_LOG_ERROR, "[data_file] Failed appending data file %s: %s",
                    file->path.c_str(), std::strerror(errno));
        return give_up_append(file, written);
    }
    file->file_size += size;
    if (file->has_other_blocks && !rewrite_header_on_disk(file)) {
        file->last_write_ok = false;
        return give_up_append(file, size);
    }
    file->last_write_ok = true;
    if (!file->keep_open) {
        file->stream.reset();
        vrn_data_file_update_header(file);
    }
    return size;
}

bool vrn_data_file_update_header(vrn_data_file_t *file) {
    file->stream.reset();
    boost::system::error_code ignored;
    if (fs::exists(file->path, ignored)) return rewrite_header_on_disk(file);
    VRN_LOG(VRN_LOG_DEBUG, "[data_file] File %s does not exist, skipping header update",
            file->path.c_str());
    return true;
}

bool vrn_data_file_read_size(vrn_data_file_t *file) {
    const vrn_stream_ptr stream = open_unbuffered(file->path, "rb");
    const long end =
        stream && std::fseek(stream.get(), 0, SEEK_END) == 0 ? std::ftell(stream.get()) : -1;
    if (end < 0) {
        if (file->last_write_ok)
            VRN_LOG(VRN_LOG_ERROR, "[data_file] Failed to open %s\n", file->path.c_str());
        return false;
    }
    file->file_size = static_cast<std::uint64_t>(end);
    return true;
}

void vrn_data_file_cut_torn_tail(vrn_data_file_t *file) {
    const vrn_stream_ptr stream = open_unbuffered(file->path, "rb+");
    vrn_data_file_header_t header;
    struct stat status;
    if (!stream || !read_header(stream.get(), &header)) return;
    const int descriptor = ::fileno(stream.get());
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) return;
    const auto size = static_cast<std::uint64_t>(status.st_size);
    const std::uint64_t torn = torn_bytes(header, size);
    if (torn == 0) return;
    if (::ftruncate(descriptor, static_cast<off_t>(size - torn)) != 0) return;
    VRN_LOG(VRN_LOG_WARNING, "[data_file] Cut %lu bytes of an unfinished block off file %s", torn,
            file->path.c_str());
}
