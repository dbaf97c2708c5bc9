#include <isa-l/igzip_lib.h>
#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

#include "scan/fast_inflate.h"

namespace vrn {

namespace {

// Size of the gzip header at `input` when it has no part but, perhaps, a name; 0 otherwise.
std::size_t plain_header_size(Bytes input) {
    constexpr std::size_t fixed_size = 10;
    constexpr std::uint8_t magic_and_method[] = {0x1F, 0x8B, 8};
    constexpr std::uint8_t has_name = 8;
    if (input.size() < fixed_size) return 0;
    if (std::memcmp(input.data(), magic_and_method, sizeof magic_and_method) != 0) return 0;
    const std::uint8_t flags = input[3];
    if (flags == 0) return fixed_size;
    if (flags != has_name) return 0;
    const Bytes header = input.first(std::min(input.size(), FastInflate::max_header_size));
    const auto end = std::find(header.begin() + fixed_size, header.end(), 0);
    return end == header.end() ? 0 : static_cast<std::size_t>(end - header.begin()) + 1;
}

#if defined(__x86_64__)
__attribute__((target("avx"))) void clear_upper_halves() {
    _mm256_zeroupper();
}

// ISA-L leaves values in the upper halves of the vector registers. Until they are cleared, each
// instruction for the lower halves waits for the one before: a third of the time of an export.
void leave_vector_unit() {
    if (__builtin_cpu_supports("avx")) clear_upper_halves();
}
#else
void leave_vector_unit() {}
#endif

// Takes tables with unused codes, which zlib refuses, and then makes up bytes until it meets such a
// code. So what it made is given only once as much again went well, which no such stream manages
// that came about by chance.
class IsalInflate final : public FastInflate {
  public:
    bool begin(Bytes *input) override {
        const std::size_t header_size = plain_header_size(*input);
        if (header_size == 0) return false;
        *input = input->subspan(header_size);
        isal_inflate_init(&stream_);
        stream_.crc_flag = ISAL_GZIP_NO_HDR_VER;
        state_ = State::open;
        has_older_ = false;
        filled_ = 0;
        return true;
    }

    Bytes next(Bytes *input) override {
        while (state_ != State::lost) {
            const bool is_full = filled_ == half_size;
            if (has_older_ && (is_full || state_ == State::ended)) {
                has_older_ = false;
                return halves_[1 - current_];
            }
            if (state_ == State::ended) return {halves_[current_], std::exchange(filled_, 0)};
            if (is_full) {
                current_ = 1 - current_;
                has_older_ = true;
                filled_ = 0;
            }
            if (!inflate_some(input)) break;
        }
        return {};
    }

    // Bytes that are left to give come before the end.
    State state() const override {
        return state_ == State::ended && (has_older_ || filled_ > 0) ? State::open : state_;
    }

  private:
    static constexpr std::size_t half_size = 65536;

    // False when more input is needed.
    bool inflate_some(Bytes *input) {
        const std::size_t room = half_size - filled_;
        const std::size_t offered =
            std::min<std::size_t>(input->size(), std::numeric_limits<std::int32_t>::max());
        // It only reads there.
        stream_.next_in = const_cast<std::uint8_t *>(input->data());
        stream_.avail_in = static_cast<std::uint32_t>(offered);
        stream_.next_out = halves_[current_] + filled_;
        stream_.avail_out = static_cast<std::uint32_t>(room);
        const int result = isal_inflate(&stream_);
        leave_vector_unit();
        const std::size_t used = offered - stream_.avail_in;
        const std::size_t made = room - stream_.avail_out;
        *input = input->subspan(used);
        filled_ += made;
        if (result != ISAL_DECOMP_OK)
            state_ = State::lost;
        else if (stream_.block_state == ISAL_BLOCK_FINISH)
            state_ = State::ended;
        return state_ != State::open || used + made > 0;
    }

    State state_ = State::lost;
    bool has_older_ = false;  // the half that is not the current one is full and not given
    unsigned current_ = 0;
    std::size_t filled_ = 0;  // of the current half
    inflate_state stream_;
    std::uint8_t halves_[2][half_size];
};

}  // namespace

std::unique_ptr<FastInflate> FastInflate::create() {
    // Not cleared: most files never use all of it.
    return std::unique_ptr<FastInflate>(new (std::nothrow) IsalInflate);
}

}  // namespace vrn
