#include "support/metrics_difference.h"

#include <algorithm>
#include <exception>
#include <vector>

#include "metrics/metrics_json_tree.h"
#include "metrics/metrics_json_writer.h"
#include "metrics/metrics_parser.h"
#include "support/byte_builder.h"
#include "support/captured_log.h"
#include "support/printed_difference.h"
#include "support/random_source.h"

namespace vrn::test {
namespace {

using metrics::VrnMetricsParser;

class RandomBlock {
  public:
    explicit RandomBlock(std::string_view choices) : source_(choices) {}

    std::string build() {
        for (std::size_t i = source_.below(3); i > 0; --i) add_label_set();
        tables_ += strings("LBLV", num_values_ = count(), "lblv");
        tables_ += strings("CNTI", num_metrics_ = count(), "cnti");
        if (source_.one_in(2)) tables_ += strings("CLBL", source_.below(5), "clbl");
        std::string records;
        for (std::size_t i = source_.below(5); i > 0; --i) records += record();
        const std::uint32_t blocksize =
            source_.one_in(40) ? static_cast<std::uint32_t>(source_.below(60)) : 1000;
        ByteBuilder section;
        section.raw(tables_).text("CNTD").u32(blocksize).raw(records).text("cntdcntx");
        const auto size = static_cast<std::uint32_t>(section.done().size() + 8);
        return spoiled(ByteBuilder().text("CNTX").u32(size).raw(section.done()).done());
    }

  private:
    // Rarely none.
    std::size_t count() { return source_.one_in(20) ? 0 : 1 + source_.below(4); }

    // u8 length and text; the text is one that fits in most cases.
    std::string string() {
        std::string text =
            source_.one_in(8) ? source_.text() : std::string(1 + source_.below(12), 'v');
        if (source_.one_in(20)) text += '\0' + source_.text();
        if (!source_.one_in(4)) text += static_cast<char>('a' + source_.below(3));
        return static_cast<char>(text.size()) + text;
    }
    std::string strings(const char *prefix, std::size_t count, const char *suffix) {
        ByteBuilder section;
        section.text(prefix).u16(static_cast<std::uint16_t>(count));
        for (std::size_t i = 0; i < count; ++i) section.raw(string());
        return section.text(suffix).done();
    }
    void add_label_set() {
        const std::size_t count = source_.below(4);
        ByteBuilder section;
        section.text("LBLN").u8(static_cast<std::uint8_t>(count));
        for (std::size_t i = 0; i < count; ++i) section.raw(string());
        tables_ += section.text("lbln").done();
        set_sizes_.push_back(count);
    }

    std::string record() {
        ByteBuilder bytes;
        bytes.u16(0).u64(source_.one_in(4) ? source_.word() : 1'700'000'000'000'000);
        bytes.text(source_.one_in(40) ? "H" : source_.one_in(2) ? "C" : "G").u8(1);
        const std::size_t count = source_.below(4);
        bytes.u16(static_cast<std::uint16_t>(count));
        for (std::size_t i = 0; i < count; ++i)
            bytes.u16(index_below(num_metrics_)).u64(source_.word());
        return bytes.raw(labels()).done();
    }
    // Rarely one too high.
    std::uint16_t index_below(std::size_t limit) {
        return static_cast<std::uint16_t>(source_.below(limit + (source_.one_in(40) ? 1 : 0)));
    }

    std::string labels() {
        static constexpr char encodings[] = {'L', 'I', 'M', 'X'};
        const std::size_t set = source_.below(set_sizes_.size() + 1);
        std::size_t count = set < set_sizes_.size() ? set_sizes_[set] : source_.below(3);
        if (source_.one_in(20)) count = source_.below(5);
        const char encoding = encodings[source_.below(source_.one_in(40) ? 4 : 3)];
        std::string bytes = {static_cast<char>(set), static_cast<char>(count), encoding};
        for (std::size_t i = 0; i < count; ++i) bytes += label(encoding);
        return bytes;
    }
    std::string label(char encoding) {
        if (encoding == 'M') {
            const char sub_encoding = source_.one_in(2) ? 'L' : 'I';
            return sub_encoding + label(sub_encoding);
        }
        return encoding == 'L' ? std::string(1, static_cast<char>(index_below(num_values_)))
                               : string();
    }

    std::string spoiled(std::string block) {
        if (source_.one_in(8)) block[source_.below(block.size())] = source_.number<char>();
        if (source_.one_in(16)) block.resize(source_.below(block.size()));
        return block;
    }

    RandomSource source_;
    std::string tables_;
    std::vector<std::size_t> set_sizes_;
    std::size_t num_values_ = 0;
    std::size_t num_metrics_ = 0;
};

// What `outcome` returns or throws, after the lines it logs.
template <typename Outcome>
std::string with_lines(std::uint32_t level, Outcome outcome) {
    CapturedLog log(level);
    std::string text;
    try {
        text = outcome();
    } catch (const std::exception &error) {
        text = std::string("thrown: ") + error.what();
    }
    std::string all;
    for (const std::string &line : log.take()) all += line + '\n';
    return all + text;
}

std::string tree_of(Bytes bytes, JsonLayout layout) {
    const std::size_t size = VrnMetricsParser::find_cntx_total_size(bytes);
    const Bytes block = bytes.first(std::min(size, bytes.size()));
    metrics::CntxBlockTables tables;
    std::vector<metrics::MetricRecord> records;
    VrnMetricsParser::parse_cntx_block(block, &tables.label_names, &tables.label_values,
                                       &tables.metric_names, &records);
    tables.constant_labels = VrnMetricsParser::parse_constant_labels(block);
    const bool microseconds = layout == JsonLayout::pretty;
    return printed_tree(metrics_to_json(tables, records, microseconds), layout);
}

}  // namespace

std::string metrics_difference(std::string_view choices) {
    const std::string made = RandomBlock(choices).build();
    // Memory of exactly that size, so that a sanitizer sees each read past it.
    const std::vector<std::uint8_t> block(made.begin(), made.end());
    return metrics_block_difference(block, made.size() % 8 == 0);
}

std::string metrics_block_difference(Bytes block, bool debug) {
    json_set_escape_slashes(0);
    static metrics::MetricsJsonWriter metrics;  // as the reader does: one for block after block
    const std::uint32_t level = debug ? 7 : 6;
    std::string all;
    for (const JsonLayout layout : {JsonLayout::compact, JsonLayout::pretty})
        all += difference(
            with_lines(level, [&] { return tree_of(block, layout); }), with_lines(level, [&] {
                metrics.read(block);
                JsonText text(layout);
                return written(text,
                               [&] { return metrics.write(layout == JsonLayout::pretty, &text); });
            }));
    return all;
}

}  // namespace vrn::test
