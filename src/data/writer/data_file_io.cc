#include "data/writer/data_file_io.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <boost/filesystem.hpp>
#include <cerrno>
#include <cstring>
#include <optional>

#include "data/writer/data_file_state.h"
#include "utils/descriptor.h"
#include "utils/file_lock.h"
#include "utils/log.h"

namespace fs = boost::filesystem;

namespace {

using vrn::Descriptor;

constexpr std::size_t header_size = sizeof(vrn_data_file_header_t);

// The mark of a `file_size` after which an append of other blocks is under way.
constexpr std::uint64_t unfinished = std::uint64_t{1} << 63;

// Appends wherever another process puts the end meanwhile.
Descriptor open_existing(const std::string &path) {
    return Descriptor(::open(path.c_str(), O_RDWR | O_APPEND | O_CLOEXEC));
}

struct FileStatus {
    vrn::FileIdentity identity;
    std::optional<std::uint64_t> size;  // of a regular file
    bool has_name = false;
};

// Without the times of the file: the kernel gives the next write a finer time, and a change of its
// own in the journal, when somebody has looked at them. False with errno set.
bool look_at(int folder, const char *path, int flags, FileStatus *status) {
    constexpr unsigned wanted = STATX_TYPE | STATX_NLINK | STATX_INO | STATX_SIZE;
    struct statx found {};
    if (::statx(folder, path, flags, wanted, &found) != 0) return false;
    status->identity = {makedev(found.stx_dev_major, found.stx_dev_minor), found.stx_ino};
    if (S_ISREG(found.stx_mode)) status->size = found.stx_size;
    status->has_name = found.stx_nlink != 0;
    return true;
}

FileStatus status_of(const Descriptor &stream) {
    FileStatus status;
    static_cast<void>(look_at(stream.get(), "", AT_EMPTY_PATH, &status));
    return status;
}

bool is_name_of(const std::string &path, const vrn::FileIdentity &file) {
    FileStatus status;
    return look_at(AT_FDCWD, path.c_str(), 0, &status) && status.identity == file;
}

// Nothing is held back in this process, so that one that is killed loses nothing. Bytes written.
std::uint64_t write_bytes(const Descriptor &stream, const void *data, std::uint64_t size) {
    std::uint64_t written = 0;
    while (written < size) {
        const ssize_t count =
            ::write(stream.get(), static_cast<const char *>(data) + written, size - written);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        written += static_cast<std::uint64_t>(count);
    }
    return written;
}

bool read_header(const Descriptor &stream, vrn_data_file_header_t *header) {
    // A read that ends early sets none.
    errno = 0;
    return ::pread(stream.get(), header, header_size, 0) == ssize_t{header_size};
}

bool write_header(const Descriptor &stream, const vrn_data_file_header_t &header) {
    return write_bytes(stream, &header, header_size) == header_size;
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

bool write_new_header(vrn_data_file_t *file, const Descriptor &stream) {
    const vrn_data_file_header_ptr header = make_header(file);
    if (!header) {
        if (file->last_write_ok)
            VRN_LOG(VRN_LOG_ERROR, "[data_file] Failed allocating file header buffer: %s",
                    std::strerror(errno));
        return false;
    }
    if (!write_header(stream, *header)) {
        if (file->last_write_ok)
            VRN_LOG(VRN_LOG_ERROR, "[data_file] Failed writing header of the data file %s: %s",
                    file->path.c_str(), std::strerror(errno));
        return false;
    }
    file->file_size = header->file_size;
    return true;
}

void remove_name(const vrn_data_file_t *file, const Descriptor &stream) {
    const int cause = errno;
    if (is_name_of(file->path, status_of(stream).identity)) ::unlink(file->path.c_str());
    errno = cause;
}

// Puts a header in place of the part of one, which is all that the locked file holds.
bool complete_header(vrn_data_file_t *file, const Descriptor &stream) {
    if (::ftruncate(stream.get(), 0) == 0 && write_new_header(file, stream)) return true;
    remove_name(file, stream);
    return false;
}

// Where the last page of a file of `size` bytes ends.
std::uint64_t end_of_pages(const vrn_data_file_header_t &header, std::uint64_t size) {
    const std::uint64_t told = header.file_size & ~unfinished;
    const bool is_within = told >= header_size && told <= size;
    // Marked: an append was under way when its process ended, and blocks are no guide.
    if (is_within && told != header.file_size) return told;
    if (header.block_size == 0) return size;
    return size - (size - (is_within ? told : header_size)) % header.block_size;
}

// Takes `file_size` from the last page of a locked file of `size` bytes and cuts off the rest.
bool cut_unfinished(vrn_data_file_t *file, const Descriptor &stream,
                    const vrn_data_file_header_t &header, std::uint64_t size) {
    file->file_size = end_of_pages(header, size);
    if (file->file_size == size) return true;
    if (::ftruncate(stream.get(), static_cast<off_t>(file->file_size)) != 0) return false;
    VRN_LOG(VRN_LOG_WARNING, "[data_file] Cut %lu bytes of an unfinished block off file %s",
            size - file->file_size, file->path.c_str());
    return true;
}

bool overwrite_header(const vrn_data_file_t *file, const Descriptor &stream,
                      const vrn_data_file_header_t &header) {
    if (::lseek(stream.get(), 0, SEEK_SET) != 0) {
        if (file->last_write_ok)
            VRN_LOG(VRN_LOG_ERROR, "[data_file] Failed moving to the beginning of file %s: %s",
                    file->path.c_str(), std::strerror(errno));
        return false;
    }
    ::fcntl(stream.get(), F_SETFL, 0);  // or else the kernel would append
    const bool is_written = write_header(stream, header);
    const int cause = errno;
    ::fcntl(stream.get(), F_SETFL, O_APPEND);
    if (is_written) return true;
    if (file->last_write_ok)
        VRN_LOG(VRN_LOG_ERROR, "[data_file] Failed writing data page header to file %s: %s",
                file->path.c_str(), std::strerror(cause));
    return false;
}

// Writes times and `file_size`, with `mark` or 0, to the header of a locked file.
bool rewrite_header(const vrn_data_file_t *file, const Descriptor &stream, std::uint64_t mark) {
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
    // Of the other fields none is touched: they may come from another process.
    if (header.first_timestamp == 0) header.first_timestamp = file->first_ts;
    header.last_timestamp = file->last_ts;
    header.file_size = file->file_size | mark;
    if (!overwrite_header(file, stream, header)) return false;
    VRN_LOG(VRN_LOG_DEBUG, "[data_file] updated header %s with last_ts :%lu", path, file->last_ts);
    return true;
}

// Leaves nothing unfinished in the locked file of this status and takes `file_size` from it.
// `header` is zero when the file has no valid one.
bool settle(vrn_data_file_t *file, const Descriptor &stream, const FileStatus &status,
            vrn_data_file_header_t *header) {
    std::optional<std::uint64_t> size = status.size;
    if (size && *size < header_size) {
        if (!complete_header(file, stream)) return false;
        size = header_size;
    }
    if (size) file->file_size = *size;
    if (read_header(stream, header) && vrn_data_file_header_is_valid(header))
        return !size || cut_unfinished(file, stream, *header, *size);
    *header = {};
    return true;
}

// Takes back the last `bytes` of the locked file; one that holds nothing else goes. Processes that
// know no lock may share it, so the cut goes by its present end.
void cut_back(const vrn_data_file_t *file, std::uint64_t bytes) {
    const std::optional<std::uint64_t> size = status_of(file->stream).size;
    if (!size || *size < bytes) return;
    const std::uint64_t rest = *size - bytes;
    if (bytes != 0 && ::ftruncate(file->stream.get(), static_cast<off_t>(rest)) != 0) return;
    // Otherwise each page that finds the disk full would leave a file without data.
    if (rest == header_size) remove_name(file, file->stream);
}

// The header's failures belong to the same stretch, so they are still told. Always 0.
std::uint64_t give_up_file(vrn_data_file_t *file) {
    static_cast<void>(vrn_data_file_update_header(file));
    file->path.clear();
    file->last_write_ok = false;
    return 0;
}

bool open_stream(vrn_data_file_t *file) {
    if (file->stream.is_open()) return true;
    file->stream = open_existing(file->path);
    if (!file->stream.is_open() && errno == ENOENT && vrn_data_file_create(file))
        file->stream = open_existing(file->path);
    if (!file->stream.is_open()) return false;
    file->opened = status_of(file->stream).identity;
    file->has_other_blocks = false;
    return true;
}

// Locks the file that has the name at present, which may be another one with each look.
bool enter(vrn_data_file_t *file, std::optional<vrn::FileLock> *lock, FileStatus *status) {
    constexpr int max_looks = 100;
    for (int look = 0; look < max_looks; ++look) {
        if (!open_stream(file)) return false;
        lock->emplace(file->stream.get());
        if (!(*lock)->is_held()) return false;
        *status = status_of(file->stream);
        // A file that was removed and made anew between the open and the lock has no name any more.
        if (status->has_name || vrn_data_file_is_present(file)) return true;
        lock->reset();
        static_cast<void>(file->stream.close());  // nothing was written through it
    }
    errno = ESTALE;
    return false;
}

// Tells in the header of the locked file what is about to happen after its last page.
bool announce(vrn_data_file_t *file, const vrn_data_file_header_t &header) {
    const bool is_valid = header.file_size != 0;
    if (is_valid) file->has_other_blocks = header.block_size != file->block_size;
    if (file->has_other_blocks) return rewrite_header(file, file->stream, unfinished);
    return (header.file_size & unfinished) == 0 || rewrite_header(file, file->stream, 0);
}

// Lets the locked file grow by zeros that no disk has to hold.
bool pad(const Descriptor &stream, std::uint64_t bytes) {
    if (bytes == 0) return true;
    const std::uint64_t size = status_of(stream).size.value_or(0);
    return ::ftruncate(stream.get(), static_cast<off_t>(size + bytes)) == 0;
}

// Appends to the locked file, or leaves it as it was.
bool append(vrn_data_file_t *file, const FileStatus &status, vrn::Bytes data,
            std::uint64_t padding) {
    vrn_data_file_header_t header;
    const bool is_settled = settle(file, file->stream, status, &header);
    if (is_settled && !announce(file, header)) return false;
    const std::uint64_t written =
        is_settled ? write_bytes(file->stream, data.data(), data.size()) : 0;
    if (written != data.size() || !pad(file->stream, padding)) {
        if (file->last_write_ok)
            VRN_LOG(VRN_LOG_ERROR, "[data_file] Failed appending data file %s: %s",
                    file->path.c_str(), std::strerror(errno));
        cut_back(file, written);
        return false;
    }
    file->file_size += data.size() + padding;
    if (!file->has_other_blocks || rewrite_header(file, file->stream, 0)) return true;
    file->last_write_ok = false;
    cut_back(file, data.size() + padding);
    return false;
}

// A file that has no name yet, in the folder of `path`; none where there are no such files.
Descriptor open_nameless(const std::string &path) {
    const std::string folder = fs::path(path).parent_path().string();
    constexpr int flags = O_TMPFILE | O_WRONLY | O_CLOEXEC;
    return Descriptor(::open(folder.empty() ? "." : folder.c_str(), flags, 0666));
}

// Fails when something has the name.
bool give_name(const Descriptor &stream, const std::string &path) {
    const std::string file = "/proc/self/fd/" + std::to_string(stream.get());
    return ::linkat(AT_FDCWD, file.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

// Where files can't be made without a name, over the part of a header, and where another process
// was faster: its file is not touched.
bool create_in_place(vrn_data_file_t *file) {
    constexpr int flags = O_CREAT | O_RDWR | O_APPEND | O_CLOEXEC;
    const Descriptor stream(::open(file->path.c_str(), flags, 0666));
    if (stream.is_open()) {
        const vrn::FileLock lock(stream.get());
        vrn_data_file_header_t header;
        if (lock.is_held()) return settle(file, stream, status_of(stream), &header);
    }
    if (file->last_write_ok)
        VRN_LOG(VRN_LOG_ERROR, "[data_file] Failed to open file %s for writing: %s",
                file->path.c_str(), std::strerror(errno));
    return false;
}

bool update_header_on_disk(vrn_data_file_t *file) {
    const Descriptor stream = open_existing(file->path);
    if (stream.is_open()) {
        const vrn::FileLock lock(stream.get());
        vrn_data_file_header_t header;
        if (lock.is_held() && settle(file, stream, status_of(stream), &header))
            return rewrite_header(file, stream, 0);
    }
    if (file->last_write_ok)
        VRN_LOG(VRN_LOG_ERROR, "[data_file] Failed opening data file %s: %s", file->path.c_str(),
                std::strerror(errno));
    return false;
}

}  // namespace

bool vrn_data_file_has_content(const std::string &path) {
    boost::system::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (!fs::exists(status)) return false;
    if (!fs::is_regular_file(status)) return true;
    // The part of a header is no content: a process was killed while it made the file.
    const std::uintmax_t size = fs::file_size(path, error);
    return error || size >= header_size;
}

bool vrn_data_file_is_present(const vrn_data_file_t *file) {
    return file->stream.is_open() ? is_name_of(file->path, file->opened)
                                  : ::access(file->path.c_str(), F_OK) == 0;
}

bool vrn_data_file_create(vrn_data_file_t *file) {
    // With its header whole before it can be seen, so that a killed process leaves all or nothing.
    if (const Descriptor stream = open_nameless(file->path); stream.is_open()) {
        if (!write_new_header(file, stream)) return false;
        if (give_name(stream, file->path)) return true;
    }
    return create_in_place(file);
}

std::uint64_t vrn_data_file_append(vrn_data_file_t *file, vrn::Bytes data, std::uint64_t padding) {
    std::optional<vrn::FileLock> lock;
    FileStatus status;
    if (!enter(file, &lock, &status)) {
        if (file->last_write_ok)
            VRN_LOG(VRN_LOG_ERROR, "[data_file] Failed to open data file %s for writing: %s",
                    file->path.c_str(), std::strerror(errno));
        lock.reset();
        return give_up_file(file);
    }
    const bool is_appended = append(file, status, data, padding);
    // Given back before the header is brought up to date, which takes a lock of its own.
    lock.reset();
    if (!is_appended) return give_up_file(file);
    file->last_write_ok = true;
    // The page is stored, whatever becomes of the header.
    if (!file->keep_open) static_cast<void>(vrn_data_file_update_header(file));
    return data.size() + padding;
}

void vrn_data_file_close_stream(vrn_data_file_t *file) {
    if (file->stream.close()) return;
    // Some file systems tell only here that a write failed.
    VRN_LOG(VRN_LOG_ERROR, "[data_file] Failed closing data file %s: %s", file->path.c_str(),
            std::strerror(errno));
}

bool vrn_data_file_update_header(vrn_data_file_t *file) {
    vrn_data_file_close_stream(file);
    if (vrn_data_file_is_present(file)) return update_header_on_disk(file);
    VRN_LOG(VRN_LOG_DEBUG, "[data_file] File %s does not exist, skipping header update",
            file->path.c_str());
    return true;
}

bool vrn_data_file_read_size(vrn_data_file_t *file) {
    const Descriptor stream(::open(file->path.c_str(), O_RDONLY | O_CLOEXEC));
    const off_t end = stream.is_open() ? ::lseek(stream.get(), 0, SEEK_END) : -1;
    if (end < 0) {
        if (file->last_write_ok)
            // The line feed inside the message stays.
            VRN_LOG(VRN_LOG_ERROR, "[data_file] Failed to open %s\n", file->path.c_str());
        return false;
    }
    file->file_size = static_cast<std::uint64_t>(end);
    return true;
}
