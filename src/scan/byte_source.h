// The bytes of a data file: plain, or compressed with gzip, whatever the file's name says.
#pragma once

#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <memory>

#include "utils/byte_reader.h"

namespace vrn {

class FastInflate;

// Reads a file from its start to its end and decompresses it when it begins like a gzip stream.
// Members that follow each other read as one; bytes after a member that begin no other are
// ignored. A file of one byte is plain.
class ByteSource {
  public:
    enum class State : std::uint8_t {
        open,       // more may come
        ended,      // the last byte was given
        cut_short,  // the same, and the gzip stream has no end
        failed,     // error_text() says why
    };

    // Null when memory runs out or the file can't be opened; errno tells. A folder opens, and fails
    // when it is read.
    [[nodiscard]] static std::unique_ptr<ByteSource> open_path(const char *path);
    // Reads from where `descriptor` stands; it is borrowed and stays open.
    [[nodiscard]] static std::unique_ptr<ByteSource> open_descriptor(int descriptor);
    // `bytes` are borrowed and must outlive the source.
    [[nodiscard]] static std::unique_ptr<ByteSource> open_memory(Bytes bytes);

    ~ByteSource();
    ByteSource(const ByteSource &) = delete;
    ByteSource &operator=(const ByteSource &) = delete;

    // Fills `to` with the next bytes and returns their number, which is below `size` only when the
    // file ends or fails after them: what came before a fault is never lost.
    std::size_t read(void *to, std::size_t size);

    // Not `open` only after a read that gave less than it was asked for.
    State state() const { return given_; }
    bool is_compressed() const { return form_ == Form::gzip; }
    // Bytes given so far.
    std::uint64_t position() const { return position_; }
    // Why reading failed or, of a stream that is cut short, what zlib says to it; the text of errno
    // 0 otherwise. Valid until the source ends.
    const char *error_text() const;

  private:
    enum class Form : std::uint8_t { unknown, plain, gzip };
    static constexpr std::size_t buffer_size = 32768;

    ByteSource() = default;

    std::size_t produce(std::uint8_t *to, std::size_t size);
    void find_form();
    std::size_t copy_to(std::uint8_t *to, std::size_t size);
    std::size_t inflate_to(std::uint8_t *to, std::size_t size);
    void prepare_fast();
    void begin_next_member();
    void begin_member();
    void begin_zlib_member();
    std::size_t inflate_some(std::uint8_t *to, std::size_t size);
    Bytes inflate_fast();
    void return_to_zlib();
    void refill_input();
    std::uint64_t raw_position() const;
    [[nodiscard]] bool go_to(std::uint64_t raw_position);
    std::size_t load(std::uint8_t *to, std::size_t size);
    void end_input(State state);
    void fail(const char *stream_text);

    int descriptor_ = -1;  // -1: all input is in `whole_`
    bool owns_descriptor_ = false;
    Bytes whole_;
    std::int64_t file_start_ = 0;  // where the descriptor stood at first; used only with `fast_`
    std::uint64_t loaded_ = 0;     // bytes read from the descriptor
    bool input_ended_ = false;
    Form form_ = Form::unknown;
    State state_ = State::open;  // of what was made; `ready_` may still hold bytes of it
    State given_ = State::open;  // of what was given
    bool is_in_member_ = false;
    int error_number_ = 0;
    const char *stream_text_ = nullptr;  // zlib's words
    std::uint64_t position_ = 0;
    Bytes input_;                        // raw bytes that were read and not used yet
    Bytes ready_;                        // bytes that were made and not given yet
    std::unique_ptr<FastInflate> fast_;  // null: zlib alone, from here on
    bool is_fast_ = false;               // the member at hand goes by `fast_`
    std::uint64_t member_start_ = 0;     // its place in the raw bytes
    std::uint64_t member_given_ = 0;     // bytes that `fast_` gave of it
    z_stream stream_{};
    std::uint8_t raw_[buffer_size];
    std::uint8_t made_[buffer_size];
};

}  // namespace vrn
