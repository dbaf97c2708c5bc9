#include "scan/byte_source.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <new>

#include "scan/fast_inflate.h"

namespace vrn {

namespace {

// 15 bits of window plus 16: gzip framing only.
constexpr int gzip_window_bits = 31;
constexpr std::uint8_t gzip_magic[] = {0x1F, 0x8B};

bool begins_gzip(Bytes input) {
    return input.size() >= sizeof gzip_magic &&
           std::memcmp(input.data(), gzip_magic, sizeof gzip_magic) == 0;
}

// zlib counts what is at hand in 32 bits; the rest goes with the next call.
uInt to_zlib_size(std::size_t size) {
    return static_cast<uInt>(std::min<std::size_t>(size, std::numeric_limits<uInt>::max()));
}

}  // namespace

std::unique_ptr<ByteSource> ByteSource::open_path(const char *path) {
    std::unique_ptr<ByteSource> source(new (std::nothrow) ByteSource);
    if (!source) return nullptr;
    source->descriptor_ = open(path, O_RDONLY | O_CLOEXEC);
    if (source->descriptor_ < 0) return nullptr;
    source->owns_descriptor_ = true;
    return source;
}

std::unique_ptr<ByteSource> ByteSource::open_descriptor(int descriptor) {
    std::unique_ptr<ByteSource> source(new (std::nothrow) ByteSource);
    if (source) source->descriptor_ = descriptor;
    return source;
}

std::unique_ptr<ByteSource> ByteSource::open_memory(Bytes bytes) {
    std::unique_ptr<ByteSource> source(new (std::nothrow) ByteSource);
    if (!source) return nullptr;
    source->whole_ = source->input_ = bytes;
    // There is nothing to read later: what is at hand is the whole file.
    source->input_ended_ = true;
    return source;
}

ByteSource::~ByteSource() {
    if (form_ == Form::gzip) inflateEnd(&stream_);
    if (owns_descriptor_) close(descriptor_);
}

std::size_t ByteSource::read(void *to, std::size_t size) {
    auto *place = static_cast<std::uint8_t *>(to);
    std::size_t left = size;
    while (left > 0) {
        if (!ready_.empty()) {
            const std::size_t count = std::min(left, ready_.size());
            std::memcpy(place, ready_.data(), count);
            ready_ = ready_.subspan(count);
            place += count;
            left -= count;
        } else if (state_ != State::open) {
            given_ = state_;
            break;
        } else if (form_ == Form::unknown) {
            find_form();
        } else if (is_fast_) {
            ready_ = inflate_fast();
        } else if (left >= buffer_size) {
            // Chunks go straight to their place; only headers and short tails are copied twice.
            const std::size_t count = produce(place, left);
            place += count;
            left -= count;
        } else {
            ready_ = {made_, produce(made_, buffer_size)};
        }
    }
    position_ += size - left;
    return size - left;
}

const char *ByteSource::error_text() const {
    return stream_text_ && error_number_ == 0 ? stream_text_ : std::strerror(error_number_);
}

// Up to `size` bytes; none when the file ends here, which sets the state, or goes on fast.
std::size_t ByteSource::produce(std::uint8_t *to, std::size_t size) {
    return form_ == Form::gzip ? inflate_to(to, size) : copy_to(to, size);
}

void ByteSource::find_form() {
    refill_input();
    form_ = begins_gzip(input_) ? Form::gzip : Form::plain;
    if (form_ == Form::plain) return;
    prepare_fast();
    begin_member();
}

// A pipe has no way back for zlib to start from.
void ByteSource::prepare_fast() {
    if (descriptor_ >= 0) {
        const off_t place = lseek(descriptor_, 0, SEEK_CUR);
        if (place < 0) return;
        file_start_ = place - static_cast<std::int64_t>(loaded_);
    }
    fast_ = FastInflate::create();
}

std::size_t ByteSource::copy_to(std::uint8_t *to, std::size_t size) {
    if (input_.empty()) {
        const std::size_t count = load(to, size);
        if (count == 0) end_input(State::ended);
        return count;
    }
    const std::size_t count = std::min(size, input_.size());
    std::memcpy(to, input_.data(), count);
    input_ = input_.subspan(count);
    return count;
}

std::size_t ByteSource::inflate_to(std::uint8_t *to, std::size_t size) {
    std::size_t got = 0;
    while (got < size && state_ == State::open && !is_fast_) {
        if (!is_in_member_) {
            begin_next_member();
            continue;
        }
        if (input_.empty()) refill_input();
        if (input_.empty()) {
            stream_text_ = "unexpected end of file";
            end_input(State::cut_short);
            break;
        }
        got += inflate_some(to + got, size - got);
    }
    return got;
}

void ByteSource::begin_next_member() {
    // Members follow each other without a mark; anything else is no part of the stream, as gzread
    // has it.
    if (input_.size() < sizeof gzip_magic) refill_input();
    if (!begins_gzip(input_)) {
        end_input(State::ended);
        return;
    }
    begin_member();
}

void ByteSource::begin_member() {
    if (fast_ && input_.size() < FastInflate::max_header_size) refill_input();
    member_start_ = raw_position();
    member_given_ = 0;
    is_fast_ = fast_ && fast_->begin(&input_);
    if (!is_fast_) begin_zlib_member();
}

void ByteSource::begin_zlib_member() {
    errno = 0;
    // A stream that was never begun can't be reset.
    if (inflateReset(&stream_) != Z_OK && inflateInit2(&stream_, gzip_window_bits) != Z_OK)
        fail("out of memory");
    is_in_member_ = true;
}

Bytes ByteSource::inflate_fast() {
    if (input_.empty()) refill_input();
    const Bytes bytes = fast_->next(&input_);
    member_given_ += bytes.size();
    if (!bytes.empty()) return bytes;
    if (fast_->state() == FastInflate::State::ended)
        begin_next_member();
    else if (fast_->state() == FastInflate::State::lost || input_ended_)
        return_to_zlib();
    return {};
}

// Of the file's damage or early end zlib says what has always been said, and gives what came before
// it to the byte.
void ByteSource::return_to_zlib() {
    is_fast_ = false;
    fast_.reset();
    if (!go_to(member_start_)) return fail(nullptr);
    begin_zlib_member();
    for (std::uint64_t left = member_given_; left > 0 && state_ == State::open;)
        left -= inflate_to(made_, std::min<std::uint64_t>(left, buffer_size));
}

std::size_t ByteSource::inflate_some(std::uint8_t *to, std::size_t size) {
    const uInt offered = to_zlib_size(input_.size());
    const uInt room = to_zlib_size(size);
    // zlib never writes there: its pointer is older than const.
    stream_.next_in = const_cast<Bytef *>(input_.data());
    stream_.avail_in = offered;
    stream_.next_out = to;
    stream_.avail_out = room;
    errno = 0;
    const int result = inflate(&stream_, Z_NO_FLUSH);
    input_ = input_.subspan(offered - stream_.avail_in);
    if (result == Z_STREAM_END) is_in_member_ = false;
    // The words are those of gzread, which users know from messages.
    if (result == Z_MEM_ERROR) fail("out of memory");
    if (result == Z_DATA_ERROR) fail(stream_.msg ? stream_.msg : "compressed data error");
    if (result == Z_STREAM_ERROR || result == Z_NEED_DICT)
        fail("internal error: inflate stream corrupt");
    return room - stream_.avail_out;
}

// Raw bytes that are left stay in front.
void ByteSource::refill_input() {
    if (input_ended_) return;
    if (!input_.empty()) std::memmove(raw_, input_.data(), input_.size());
    input_ = {raw_, input_.size() + load(raw_ + input_.size(), buffer_size - input_.size())};
}

// Of the first byte that is not used yet.
std::uint64_t ByteSource::raw_position() const {
    return (descriptor_ < 0 ? whole_.size() : loaded_) - input_.size();
}

// Back to a place that was read before.
bool ByteSource::go_to(std::uint64_t raw_position) {
    if (descriptor_ < 0) {
        input_ = whole_.subspan(raw_position);
        return true;
    }
    const off_t place = file_start_ + static_cast<off_t>(raw_position);
    if (lseek(descriptor_, place, SEEK_SET) != place) return false;
    loaded_ = raw_position;
    input_ = {};
    input_ended_ = false;
    error_number_ = 0;
    return true;
}

// Reads until `size` bytes are there, the input ends or reading fails, which counts when the bytes
// before it are used up.
std::size_t ByteSource::load(std::uint8_t *to, std::size_t size) {
    std::size_t got = 0;
    while (got < size && !input_ended_) {
        const ssize_t count = ::read(descriptor_, to + got, size - got);
        if (count > 0) got += static_cast<std::size_t>(count);
        if (count == 0) input_ended_ = true;
        if (count >= 0 || errno == EINTR) continue;
        // Told once the bytes that did come are used up.
        error_number_ = errno;
        input_ended_ = true;
    }
    loaded_ += got;
    return got;
}

// No raw bytes are left: the file is at its end unless it was reading that failed.
void ByteSource::end_input(State state) {
    state_ = error_number_ == 0 ? state : State::failed;
}

// `stream_text` is shown where errno says nothing.
void ByteSource::fail(const char *stream_text) {
    error_number_ = errno;
    stream_text_ = stream_text;
    state_ = State::failed;
}

}  // namespace vrn
