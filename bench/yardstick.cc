// What the tool is measured against: a loop that knows the rows of the benchmark when it is
// compiled, with its keys prepared, std::to_chars for the numbers and one buffer for the text.
//   vrn_yardstick ndjson|json FILE
// Files are told apart by their blocks; the text is that of vrn_read. Metrics blocks, whose shape
// no compiler knows, go the way of the library's JSON trees.
#include <snappy.h>
#include <zlib.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

#include "bench_data.h"
#include "data/block.h"
#include "data/data_file_header.h"
#include "data/text/json_value.h"
#include "metrics/metrics_json_tree.h"
#include "metrics/metrics_parser.h"
#include "utils/c_ptr.h"

namespace vrn::bench {
namespace {

constexpr std::size_t piece_size = 32768;
constexpr std::size_t room = 65536;  // above the text of the longest row

class Output {
  public:
    void literal(std::string_view text) {
        std::memcpy(next_, text.data(), text.size());
        next_ += text.size();
    }
    template <typename T>
    void integer(T value) {
        next_ = std::to_chars(next_, next_ + 24, value).ptr;
    }
    void real(double value) {
        if (const auto whole = static_cast<std::int64_t>(value);
            static_cast<double>(whole) == value)
            return integer(whole);
        next_ = std::to_chars(next_, next_ + 32, value, std::chars_format::general, 17).ptr;
    }
    void hex(std::uint64_t value) {
        literal("\"0x");
        for (int shift = 60; shift >= 0; shift -= 4)
            *next_++ = "0123456789abcdef"[value >> shift & 15];
        *next_++ = '"';
    }
    void text(const char *text, std::size_t size) {
        *next_++ = '"';
        for (std::size_t i = 0; i < size && text[i] >= ' ' && text[i] <= '~'; ++i) {
            if (text[i] == '"' || text[i] == '\\') *next_++ = '\\';
            *next_++ = text[i];
        }
        *next_++ = '"';
    }
    void end_row() {
        if (next_ - buffer_.data() >= static_cast<std::ptrdiff_t>(piece_size)) flush();
    }
    void flush() {
        std::fwrite(buffer_.data(), 1, static_cast<std::size_t>(next_ - buffer_.data()), stdout);
        next_ = buffer_.data();
    }

  private:
    std::vector<char> buffer_ = std::vector<char>(piece_size + room);
    char *next_ = buffer_.data();
};

// The texts between the values, of the layout asked for.
class Rows {
  public:
    explicit Rows(bool pretty) : pretty_(pretty) {
        for (const char *name :
             {"timestamp", "node_guid", "port", "lid", "name", "state", "speed", "rx_bytes",
              "tx_bytes", "rx_packets", "tx_packets", "errors", "temperature", "utilization"})
            keys_.push_back(key(keys_.empty() ? "{" : ",", 1, name));
        for (std::uint32_t i = 0; i < counters_per_row; ++i)
            counter_keys_.push_back(
                key(i == 0 ? "{" : ",", 5, "port_counter_" + std::to_string(i)));
        row_start_ = key("{", 1, "timestamp");
        row_time_ = key(",", 1, "@timestamp");
        row_groups_ = key(",", 1, "groups") + "[" + line(2) + key("{", 3, "granularity") +
                      "\"NODE\"" + key(",", 3, "name") + "\"bench\"" + key(",", 3, "counter_sets") +
                      "[" + line(4);
        row_end_ = line(4) + "}" + line(3) + "]" + line(2) + "}" + line(1) + "]" + line(0) + "}";
        event_end_ = line(0) + "}";
    }

    void event(const std::uint8_t *bytes) {
        BenchRow row;
        std::memcpy(&row, bytes, sizeof row);
        begin();
        out_.literal(keys_[0]), out_.integer(row.timestamp);
        out_.literal(keys_[1]), out_.hex(row.node_guid);
        out_.literal(keys_[2]), out_.integer(row.port);
        out_.literal(keys_[3]), out_.integer(row.lid);
        out_.literal(keys_[4]), out_.text(row.name, sizeof row.name);
        out_.literal(keys_[5]), out_.integer(row.state);
        out_.literal(keys_[6]), out_.integer(row.speed);
        out_.literal(keys_[7]), out_.integer(row.rx_bytes);
        out_.literal(keys_[8]), out_.integer(row.tx_bytes);
        out_.literal(keys_[9]), out_.integer(row.rx_packets);
        out_.literal(keys_[10]), out_.integer(row.tx_packets);
        out_.literal(keys_[11]), out_.integer(row.errors);
        out_.literal(keys_[12]), out_.real(static_cast<double>(row.temperature));
        out_.literal(keys_[13]), out_.real(row.utilization);
        end(event_end_);
    }

    void counters(std::uint64_t timestamp, const std::uint8_t *bytes) {
        begin();
        out_.literal(row_start_), out_.integer(timestamp);
        out_.literal(row_time_), time(timestamp);
        out_.literal(row_groups_);
        for (const std::string &key : counter_keys_) {
            std::uint64_t value = 0;
            std::memcpy(&value, bytes, sizeof value);
            bytes += sizeof value;
            out_.literal(key), out_.integer(value);
        }
        end(row_end_);
    }

    void flush() { out_.flush(); }

  private:
    std::string line(std::size_t level) const {
        return pretty_ ? "\n" + std::string(level * 4, ' ') : "";
    }
    std::string key(const char *before, std::size_t level, const std::string &name) const {
        return before + line(level) + '"' + name + (pretty_ ? "\": " : "\":");
    }
    void begin() {
        if (pretty_ && has_rows_) out_.literal(",\n");
        has_rows_ = true;
    }
    void end(std::string_view text) {
        out_.literal(text);
        if (!pretty_) out_.literal("\n");
        out_.end_row();
    }
    void time(std::uint64_t timestamp) {
        if (const auto second = static_cast<std::time_t>(timestamp / 1000000); second != second_) {
            second_ = second;
            std::tm local{};
            localtime_r(&second, &local);
            std::strftime(second_text_, sizeof second_text_, "\"%Y-%m-%d %H:%M:%S.", &local);
        }
        out_.literal(second_text_);
        const auto rest = static_cast<unsigned>(timestamp % 1000000 / 1000);
        const char digits[] = {static_cast<char>('0' + rest / 100),
                               static_cast<char>('0' + rest / 10 % 10),
                               static_cast<char>('0' + rest % 10), '"'};
        out_.literal({digits, sizeof digits});
    }

    bool pretty_;
    bool has_rows_ = false;
    std::vector<std::string> keys_, counter_keys_;
    std::string row_start_, row_time_, row_groups_, row_end_, event_end_;
    std::time_t second_ = -1;
    char second_text_[32] = {};
    Output out_;
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

void print_metrics_tree(Bytes bytes) {
    const std::size_t total_size = metrics::VrnMetricsParser::find_cntx_total_size(bytes);
    const Bytes block = bytes.first(std::min(total_size, bytes.size()));
    metrics::CntxBlockTables tables;
    std::vector<metrics::MetricRecord> records;
    metrics::VrnMetricsParser::parse_cntx_block(block, &tables.label_names, &tables.label_values,
                                                &tables.metric_names, &records);
    tables.constant_labels = metrics::VrnMetricsParser::parse_constant_labels(block);
    const vrn_json_value_ptr value(metrics::metrics_to_json(tables, records, false));
    const vrn_json_text_ptr text(json_serialize_to_string(value.get()));
    std::puts(text.get());
}

void read_blocks(const std::uint8_t *bytes, std::size_t size, Rows &rows) {
    switch (vrn_block_type_of(bytes)) {
        case VRN_EVENTS_BLOCK:
            return read_events(bytes, size, rows);
        case VRN_CNTX_BLOCK:
            return print_metrics_tree({bytes, size});
        default:
            return read_counters(bytes, size, rows);
    }
}

std::size_t inflate_page(const std::uint8_t *bytes, std::size_t size, std::vector<char> &payload) {
    z_stream stream{};
    inflateInit2(&stream, 15 + 16);
    stream.next_in = const_cast<std::uint8_t *>(bytes);
    stream.avail_in = static_cast<unsigned>(size);
    stream.next_out = reinterpret_cast<std::uint8_t *>(payload.data());
    stream.avail_out = static_cast<unsigned>(payload.size());
    inflate(&stream, Z_FINISH);
    inflateEnd(&stream);
    return stream.total_out;
}

std::size_t unsnap_page(const std::uint8_t *bytes, std::size_t size, std::vector<char> &payload) {
    const auto *text = reinterpret_cast<const char *>(bytes);
    std::size_t length = 0;
    snappy::GetUncompressedLength(text, size, &length);
    if (length > payload.size() || !snappy::RawUncompress(text, size, payload.data())) return 0;
    return length;
}

void read_pages(const std::uint8_t *bytes, std::size_t size, std::vector<char> &payload,
                Rows &rows) {
    const std::uint8_t *const end = bytes + size;
    while (end - bytes > 10 && vrn_block_type_of(bytes) == VRN_PAGE_BLOCK) {
        std::uint32_t data_size = 0;
        std::memcpy(&data_size, bytes + 6, sizeof data_size);
        const std::uint8_t *data = bytes + 4 + bytes[4];
        const std::size_t length = bytes[5] == 'G' ? inflate_page(data, data_size, payload)
                                                   : unsnap_page(data, data_size, payload);
        read_blocks(reinterpret_cast<const std::uint8_t *>(payload.data()), length, rows);
        bytes = data + data_size + 4;
    }
}

int run(bool pretty, const char *path) {
    gzFile file = gzopen(path, "rb");
    vrn_data_file_header_t header;
    if (!file || gzread(file, &header, sizeof header) != sizeof header) return EXIT_FAILURE;
    std::vector<std::uint8_t> chunk(header.block_size);
    std::vector<char> payload(4 * chunk_size);
    std::string_view name(path);
    name = name.substr(name.rfind('/') + 1);
    name = name.substr(0, name.find('.'));
    if (pretty) std::printf("{\"%.*s\":[", static_cast<int>(name.size()), name.data());
    Rows rows(pretty);
    for (int size = 0; (size = gzread(file, chunk.data(), header.block_size)) > 0;) {
        const auto count = static_cast<std::size_t>(size);
        if (vrn_block_type_of(chunk.data()) == VRN_PAGE_BLOCK)
            read_pages(chunk.data(), count, payload, rows);
        else
            read_blocks(chunk.data(), count, rows);
    }
    rows.flush();
    if (pretty) std::fputs("]}", stdout);
    gzclose(file);
    return EXIT_SUCCESS;
}

}  // namespace
}  // namespace vrn::bench

int main(int argc, char **argv) {
    if (argc != 3) return EXIT_FAILURE;
    json_set_escape_slashes(0);
    return vrn::bench::run(std::string_view(argv[1]) == "json", argv[2]);
}
