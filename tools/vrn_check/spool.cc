#include "vrn_check/spool.h"

#include <sys/mman.h>

#include <array>
#include <cerrno>
#include <system_error>

#include "scan/fault.h"
#include "vrn_check/file_bytes.h"

namespace vrn::check {

Spool::Spool(NewFile file, ByteSource *source) : file_(std::move(file)) {
    fill(source);
    map();
}

Spool::~Spool() {
    unmap();
}

void Spool::fill(ByteSource *source) {
    std::array<std::uint8_t, 65536> buffer;
    std::size_t count = 0;
    // A short read is the end, or a failure that the source knows of.
    do {
        count = source->read(buffer.data(), buffer.size());
        write_at(file_.descriptor(), Bytes(buffer).first(count), size_);
        size_ += count;
    } while (count == buffer.size());
}

// No hole is left: where memory stands in for a disk, a read from one may fail, which can't be
// told.
void Spool::map() {
    static constexpr std::array<std::uint8_t, scan::slack_size> slack = {};
    write_at(file_.descriptor(), slack, size_);
    const std::size_t size = size_ + scan::slack_size;
    // The file is ours alone: nobody cuts it short under the mapping, which would kill us.
    void *data = mmap(nullptr, size, PROT_READ, MAP_SHARED, file_.descriptor().get(), 0);
    if (data == MAP_FAILED) throw std::system_error(errno, std::generic_category());
    data_ = static_cast<const std::uint8_t *>(data);
}

void Spool::unmap() {
    if (data_) munmap(const_cast<std::uint8_t *>(data_), size_ + scan::slack_size);
    data_ = nullptr;
}

NewFile Spool::take() {
    // Before the file is cut, as the mapping must not reach past its end.
    unmap();
    set_size(file_.descriptor(), size_);
    return std::move(file_);
}

}  // namespace vrn::check
