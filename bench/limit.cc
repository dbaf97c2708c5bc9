// What the tool is measured against: the best that the project knows, for rows that are known when
// this is compiled. Keys are prepared, digits, texts and decoders are the library's, one buffer
// takes the text.
//   vrn_limit ndjson|json FILE [zlib]
// With "zlib" that alone inflates. Files are told apart by their blocks; the text is that of
// vrn_read.
#include <unistd.h>
#include <zlib.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "bench_data.h"
#include "data/block.h"
#include "data/data_file_header.h"
#include "data/page_encoding.h"
#include "data/text/json_scalar.h"
#include "data/text/json_string.h"
#include "data/text/json_text.h"
#include "scan/byte_source.h"
#include "utils/write_all.h"

namespace vrn::bench {
namespace {

constexpr std::size_t piece_size = 32768;
constexpr std::size_t row_room = 65536;  // above the text of the longest row

// The texts between the values, in the layout asked for.
class Rows {
  public:
    explicit Rows(bool pretty) : pretty_(pretty) {
        for (const char *name :
             {"timestamp", "node_guid", "port", "lid", "name", "state", "speed", "rx_bytes",
              "tx_bytes", "rx_packets", "tx_packets", "errors", "temperature", "utilization"})
            keys_.emplace_back(key(keys_.empty() ? "{" : ",", 1, name));
        for (std::uint32_t i = 0; i < counters_per_row; ++i)
            counter_keys_.emplace_back(
                key(i == 0 ? "{" : ",", 5, "port_counter_" + std::to_string(i)));
        row_start_ = Piece(key("{", 1, "timestamp"));
        row_time_ = Piece(key(",", 1, "@timestamp") + '"');
        row_groups_ = Piece("\"" + key(",", 1, "groups") + "[" + line(2) +
                            key("{", 3, "granularity") + "\"NODE\"" + key(",", 3, "name") +
                            "\"bench\"" + key(",", 3, "counter_sets") + "[" + line(4));
        event_end_ = Piece(line(0) + (pretty ? "}" : "}\n"));
        row_end_ = Piece(line(4) + "}" + line(3) + "]" + line(2) + "}" + line(1) + "]" + line(0) +
                         (pretty ? "}" : "}\n"));
    }

    void event(const std::uint8_t *bytes) {
        BenchRow row;
        std::memcpy(&row, bytes, sizeof row);
        char *out = write_json_number(keys_[0].write(begin_row()), row.timestamp);
        out = write_json_hex(keys_[1].write(out), row.node_guid);
        out = write_json_number(keys_[2].write(out), std::uint64_t{row.port});
        out = write_json_number(keys_[3].write(out), std::uint64_t{row.lid});
        out = write_printable_json(keys_[4].write(out), {bytes + offsetof(BenchRow, name), 40});
        out = write_json_number(keys_[5].write(out), std::uint64_t{row.state});
        out = write_json_number(keys_[6].write(out), std::uint64_t{row.speed});
        out = write_json_number(keys_[7].write(out), row.rx_bytes);
        out = write_json_number(keys_[8].write(out), row.tx_bytes);
        out = write_json_number(keys_[9].write(out), row.rx_packets);
        out = write_json_number(keys_[10].write(out), row.tx_packets);
        out = write_json_number(keys_[11].write(out), std::uint64_t{row.errors});
        out = write_json_number(keys_[12].write(out), static_cast<double>(row.temperature));
        out = write_json_number(keys_[13].write(out), row.utilization);
        end_row(event_end_.write(out));
    }

    void counters(std::uint64_t timestamp, const std::uint8_t *bytes) {
        char *out = write_json_number(row_start_.write(begin_row()), timestamp);
        out = row_groups_.write(write_time(row_time_.write(out), timestamp));
        for (const Piece &key : counter_keys_) {
            out = write_json_number(key.write(out), load_le<std::uint64_t>(bytes));
            bytes += sizeof(std::uint64_t);
        }
        end_row(row_end_.write(out));
    }

    void flush() {
        static_cast<void>(write_all(STDOUT_FILENO, {buffer_.data(), next_}));
        next_ = buffer_.data();
    }

  private:
    // Text that is copied in steps.
    class Piece {
      public:
        Piece() = default;
        explicit Piece(std::string text) : size_(text.size()), text_(std::move(text)) {
            text_.append(JsonText::piece_slack, '\0');
        }
        char *write(char *out) const { return JsonText::copy_in_steps(out, text_.data(), size_); }

      private:
        std::size_t size_ = 0;
        std::string text_;
    };

    std::string line(std::size_t level) const {
        return pretty_ ? "\n" + std::string(level * 4, ' ') : "";
    }
    std::string key(const char *before, std::size_t level, const std::string &name) const {
        return before + line(level) + '"' + name + (pretty_ ? "\": " : "\":");
    }

    char *begin_row() {
        if (pretty_ && has_rows_) next_ = row_break_.write(next_);
        has_rows_ = true;
        return next_;
    }
    void end_row(char *end) {
        next_ = end;
        if (next_ - buffer_.data() >= static_cast<std::ptrdiff_t>(piece_size)) flush();
    }
    char *write_time(char *out, std::uint64_t timestamp) {
        if (const auto second = static_cast<std::time_t>(timestamp / 1000000); second != second_) {
            second_ = second;
            std::tm local{};
            localtime_r(&second, &local);
            second_size_ =
                std::strftime(second_text_, sizeof second_text_, "%Y-%m-%d %H:%M:%S.", &local);
        }
        std::memcpy(out, second_text_, sizeof second_text_);
        out += second_size_;
        const auto rest = static_cast<unsigned>(timestamp % 1000000 / 1000);
        *out++ = static_cast<char>('0' + rest / 100);
        *out++ = static_cast<char>('0' + rest / 10 % 10);
        *out++ = static_cast<char>('0' + rest % 10);
        return out;
    }

    bool pretty_;
    bool has_rows_ = false;
    std::vector<Piece> keys_, counter_keys_;
    Piece row_start_, row_time_, row_groups_, row_end_, event_end_;
    Piece row_break_ = Piece(",\n");
    std::time_t second_ = -1;
    char second_text_[32] = {};
    std::size_t second_size_ = 0;
    std::vector<char> buffer_ = std::vector<char>(piece_size + row_room);
    char *next_ = buffer_.data();
};

void read_events(const std::uint8_t *bytes, std::size_t size, Rows &rows) {
    while (size >= sizeof(vrn_event_header_t) && vrn_block_type_of(bytes) == VRN_EVENTS_BLOCK) {
        vrn_event_header_t block;
        std::memcpy(&block, bytes, sizeof block);
        const std::uint8_t *row = bytes + sizeof block;
        for (unsigned i = 0; i < block.num_events; ++i, row += sizeof(BenchRow)) rows.event(row);
        size -= static_cast<std::size_t>(row - bytes);
        bytes = row;
    }
}

void read_counters(const std::uint8_t *bytes, std::size_t size, Rows &rows) {
    constexpr std::size_t block_size = sizeof(vrn_data_block_t) + counters_per_row * 8;
    for (; size >= block_size; bytes += block_size, size -= block_size) {
        vrn_data_block_t block;
        std::memcpy(&block, bytes, sizeof block);
        rows.counters(block.timestamp, bytes + sizeof block);
    }
}

void read_blocks(const std::uint8_t *bytes, std::size_t size, Rows &rows) {
    if (vrn_block_type_of(bytes) == VRN_EVENTS_BLOCK)
        read_events(bytes, size, rows);
    else
        read_counters(bytes, size, rows);
}

std::size_t inflate_page(const std::uint8_t *bytes, std::size_t size,
                         std::vector<std::uint8_t> &payload) {
    z_stream stream{};
    inflateInit2(&stream, 15 + 16);
    stream.next_in = const_cast<std::uint8_t *>(bytes);
    stream.avail_in = static_cast<unsigned>(size);
    stream.next_out = payload.data();
    stream.avail_out = static_cast<unsigned>(payload.size());
    inflate(&stream, Z_FINISH);
    inflateEnd(&stream);
    return stream.total_out;
}

std::size_t decode_page(std::uint8_t encoding, const std::uint8_t *bytes, std::size_t size,
                        std::vector<std::uint8_t> &payload) {
    const auto kind = static_cast<vrn_page_encoding_t>(encoding);
    const std::uint64_t room = vrn_encoded_data_uncompressed_size(kind, bytes, size);
    if (room > payload.size()) return 0;
    return vrn_encoded_data_decode(kind, bytes, size, payload.data(), room) ? room : 0;
}

class File {
  public:
    File(const char *path, bool with_zlib) : with_zlib_(with_zlib) {
        if (with_zlib)
            zlib_.reset(gzopen(path, "rb"));
        else
            source_ = ByteSource::open_path(path);
    }

    std::size_t read(void *to, std::size_t size) {
        if (source_) return source_->read(to, size);
        const int count = zlib_ ? gzread(zlib_.get(), to, static_cast<unsigned>(size)) : 0;
        return count > 0 ? static_cast<std::size_t>(count) : 0;
    }

    void show_pages(const std::uint8_t *bytes, std::size_t size, Rows &rows) {
        const std::uint8_t *const end = bytes + size;
        while (end - bytes > 10 && vrn_block_type_of(bytes) == VRN_PAGE_BLOCK) {
            const auto data_size = load_le<std::uint32_t>(bytes + 6);
            const std::uint8_t *data = bytes + 4 + bytes[4];
            const std::size_t length = with_zlib_ && bytes[5] == VRN_ENCODING_GZIP
                                           ? inflate_page(data, data_size, payload_)
                                           : decode_page(bytes[5], data, data_size, payload_);
            read_blocks(payload_.data(), length, rows);
            bytes = data + data_size + 4;
        }
    }

  private:
    bool with_zlib_;
    CPtr<gzFile_s, gzclose> zlib_;
    std::unique_ptr<ByteSource> source_;
    std::vector<std::uint8_t> payload_ = std::vector<std::uint8_t>(4 * chunk_size);
};

int run(bool pretty, const char *path, bool with_zlib) {
    File file(path, with_zlib);
    vrn_data_file_header_t header;
    if (file.read(&header, sizeof header) != sizeof header) return EXIT_FAILURE;
    std::vector<std::uint8_t> chunk(header.block_size);
    std::string_view name(path);
    name = name.substr(name.rfind('/') + 1);
    name = name.substr(0, name.find('.'));
    if (pretty) std::printf("{\"%.*s\":[", static_cast<int>(name.size()), name.data());
    std::fflush(stdout);
    Rows rows(pretty);
    for (std::size_t size = 0; (size = file.read(chunk.data(), chunk.size())) > 0;) {
        if (vrn_block_type_of(chunk.data()) == VRN_PAGE_BLOCK)
            file.show_pages(chunk.data(), size, rows);
        else
            read_blocks(chunk.data(), size, rows);
    }
    rows.flush();
    if (pretty) std::fputs("]}", stdout);
    return EXIT_SUCCESS;
}

}  // namespace
}  // namespace vrn::bench

int main(int argc, char **argv) {
    if (argc < 3) return EXIT_FAILURE;
    return vrn::bench::run(std::string_view(argv[1]) == "json", argv[2], argc > 3);
}
