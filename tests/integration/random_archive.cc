// random_archive FOLDER SEED FILES [odd-values] [odd-times]: writes data files to FOLDER/data and
// their schemas to FOLDER/schema, for servers to load. Names are what users should never choose;
// `odd-values` and `odd-times` are those that servers have no place for. No two records have the
// same millisecond. The same arguments make the same files.
#include <cstdio>
#include <cstdlib>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "common/json_string.h"
#include "data/data_file_header.h"
#include "data/schema/builtin_types.h"
#include "data/selection/name_tables.h"
#include "support/page_blocks.h"
#include "support/stream_blocks.h"
#include "support/temp_dir.h"

namespace vrn::test {
namespace {

constexpr std::size_t chunk_size = 16384;

struct Field {
    std::string name;
    std::uint32_t type;
    std::size_t count;

    std::size_t size() const { return vrn_builtin_type_size(type) * count; }
};

struct EventType {
    std::string name;
    std::vector<Field> fields;  // after the time
};

class Archive {
  public:
    Archive(std::string folder, std::uint64_t seed, bool odd_values, bool odd_times)
        : random_(seed),
          folder_(std::move(folder)),
          odd_values_(odd_values),
          odd_times_(odd_times) {}

    void write(std::size_t num_files) {
        // Two versions of each schema: servers keep one type for a field.
        for (std::size_t i = 0; i < 2; ++i) {
            event_schemas_.push_back(make_event_schema(i));
            counters_.push_back(make_counters_schema(i));
        }
        for (std::size_t i = 0; i < num_files; ++i)
            put("data/" + std::to_string(i) + ".bin", data_file());
    }

  private:
    std::size_t below(std::size_t limit) { return random_() % limit; }
    bool one_in(std::size_t count) { return below(count) == 0; }

    void put(const std::string &name, const std::string &bytes) {
        const std::string path = folder_ + "/" + name;
        std::FILE *file = std::fopen(path.c_str(), "wb");
        if (!file || std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size() ||
            std::fclose(file) != 0) {
            std::perror(path.c_str());
            std::exit(1);
        }
    }

    // `any`: also what is no UTF-8.
    std::string text(bool any) {
        static const std::vector<std::string> pieces = {
            "a",  "b",  "_",    "_total", "_count", "time", "value",    "source",
            " ",  ",",  "=",    "\\",     "\"",     "'",    "#",        "\n",
            "\t", "\r", "\x7f", ".",      "__",     "9",    "\xc3\xa4", "\xe2\x82\xac",
            ":",  "{",  "}",    "/",      "\xff",   "\xc3", "\x01"};
        std::string all;
        for (std::size_t count = below(4); count > 0; --count)
            all += pieces[below(pieces.size() - (any ? 0 : 3))];
        return all;
    }

    double number() {
        static const std::vector<double> odd = {-0.0,   1e300,    5e-324,    0.1,         1e22,
                                                -1e-10, HUGE_VAL, -HUGE_VAL, std::nan("")};
        if (odd_values_ && one_in(3)) return odd[below(odd.size())];
        return (static_cast<double>(below(1 << 20)) - (1 << 19)) / 8;
    }
    std::uint64_t word() { return odd_values_ ? random_() >> below(64) : below(1 << 20); }
    std::uint64_t next_time() {
        static const std::vector<std::uint64_t> odd = {0, 1, 9223372036854775, 9223372036854776,
                                                       ~std::uint64_t{0}};
        if (odd_times_ && one_in(40)) return odd[below(odd.size())];
        return time_ += 1000 * (1 + below(3)) + (odd_values_ ? below(500) : 0);
    }

    std::string schema_id(char kind, std::size_t index) {
        return std::string(31, kind) + static_cast<char>('0' + index);
    }

    std::vector<EventType> make_event_schema(std::size_t index) {
        std::vector<EventType> types;
        std::string json;
        for (std::size_t i = 0; i < 3; ++i) {
            // Types of the two schemas share names, so that their fields meet.
            EventType type{.name = index == 0 ? text(false) + std::to_string(i) : names_[i],
                           .fields = {}};
            if (index == 0) names_.push_back(type.name);
            json += (i > 0 ? "," : "") + type_json(&type);
            types.push_back(std::move(type));
        }
        put("schema/schema_" + schema_id('e', index) + ".json",
            R"({"vrn_version":"1.5.0","provider_name":"p","provider_version":"1.2.3","types":[)" +
                json + "]}");
        return types;
    }

    std::string type_json(EventType *type) {
        std::size_t size = 8;
        std::string fields = field_json({"timestamp", VRN_BUILTIN_TIMESTAMP, 1}, 0);
        for (std::size_t i = 0, count = 1 + below(8); i < count; ++i) {
            Field field{text(false), static_cast<std::uint32_t>(1 + below(VRN_BUILTIN_TIMESTAMP)),
                        1};
            if (one_in(4)) field.count = 1 + below(9);
            fields += "," + field_json(field, size);
            size += field.size();
            type->fields.push_back(std::move(field));
        }
        return "{\"name\":" + tool::json_string(type->name) + ",\"size\":" + std::to_string(size) +
               ",\"fields\":[" + fields + "]}";
    }

    static std::string field_json(const Field &field, std::size_t offset) {
        return "{\"field_name\":" + tool::json_string(field.name) +
               R"(,"description":"","counting_mode":"ABSOLUTE","type_name":")" +
               vrn_builtin_type_name(field.type) + R"(","offset":)" + std::to_string(offset) +
               R"(,"type_size":)" + std::to_string(vrn_builtin_type_size(field.type)) +
               R"(,"array_length":)" + std::to_string(field.count) + "}";
    }

    std::vector<std::uint32_t> make_counters_schema(std::size_t index) {
        static const std::vector<std::string> types = {"UINT64", "INT64",   "FP64",  "BIT64",
                                                       "STRING", "UINT128", "INT128"};
        static const std::vector<std::string> modes = {"ABSOLUTE", "RUNNING_SUM", "DELTA"};
        std::vector<std::uint32_t> chosen;
        std::string counters;
        for (std::size_t i = 0; i < 8; ++i) {
            const std::size_t type = below(types.size());
            chosen.push_back(static_cast<std::uint32_t>(type));
            counters += (i > 0 ? "," : "") + std::string("{\"name\":") +
                        tool::json_string(text(false)) +
                        R"(,"description":"","units":"","data_type":")" + types[type] +
                        R"(","counting_type":")" + modes[below(modes.size())] + "\"" +
                        (types[type] == "STRING" ? R"(,"length":8})" : "}");
        }
        put("schema/schema_" + schema_id('c', index) + ".json",
            R"({"version":"1.5.0","counter_groups":[{"granularity":"NODE","name":)" +
                tool::json_string(names_[0]) +
                R"(,"provider":"p","num_counter_sets":1,"num_counters":8,"counters":[)" + counters +
                "]}]}");
        return chosen;
    }

    std::string value(std::uint32_t type, std::size_t count) {
        ByteBuilder bytes;
        for (std::size_t i = 0; i < count; ++i) {
            const std::uint64_t bits = word();
            if (type == VRN_BUILTIN_FLOAT)
                bytes.f32(static_cast<float>(number()));
            else if (type == VRN_BUILTIN_DOUBLE)
                bytes.f64(number());
            else
                bytes.raw(&bits, vrn_builtin_type_size(type));
        }
        const bool is_text = count > 1 && (type == VRN_BUILTIN_CHAR || type == VRN_BUILTIN_UCHAR);
        return is_text ? ByteBuilder().field(text(true) + text(true), count).done() : bytes.done();
    }

    std::string events(std::size_t schema, std::size_t index) {
        const EventType &type = event_schemas_[schema][index];
        ByteBuilder block;
        const std::size_t rows = 1 + below(20);
        block.text("VRNE").u64(time_).u8(0).u16(static_cast<std::uint16_t>(index));
        block.u8(static_cast<std::uint8_t>(rows));
        for (std::size_t row = 0; row < rows; ++row) {
            block.u64(next_time());
            for (const Field &field : type.fields) block.raw(value(field.type, field.count));
        }
        return block.done();
    }

    // Two blocks, the second perhaps by the other schema, which then holds on.
    std::string events_by_both(std::size_t *schema) {
        std::string blocks = events(*schema, below(3));
        if (one_in(2)) {
            *schema = 1 - *schema;
            const vrn_schema_id_t id = event_schema_id(*schema);
            blocks += ByteBuilder()
                          .text("VRNS")
                          .u16(256)
                          .u16(1)
                          .zeros(8)
                          .raw(&id, sizeof id)
                          .pad_to(256)
                          .done();
        }
        return blocks + events(*schema, below(3));
    }

    vrn_schema_id_t event_schema_id(std::size_t index) {
        vrn_schema_id_t id{};
        static_cast<void>(vrn_schema_id_from_hex(schema_id('e', index).c_str(), &id));
        return id;
    }

    std::string counters(std::size_t schema) {
        ByteBuilder block;
        block.text("VRND").u32(0).u64(next_time());
        for (const std::uint32_t type : counters_[schema]) {
            if (type == 2)
                block.f64(number());
            else if (type == 4)
                block.field(text(true), 8);
            else
                block.u64(word());
            if (type > 4) block.u64(odd_values_ ? word() : 0);
        }
        return block.done();
    }

    std::string metrics() {
        metrics::CntxBuilder builder;
        const std::vector<std::string> names = {text(true), text(true), text(true)};
        const std::uint8_t set = builder.add_label_set(names);
        builder.add_constant_label(text(true), text(true));
        const auto labels = [&] {
            std::vector<metrics::EncodedLabel> all;
            for (std::size_t i = 0; i < names.size(); ++i)
                all.push_back(metrics::CntxBuilder::label_by_text(text(true)));
            return all;
        };
        const std::uint16_t first = builder.add_metric("m" + text(true)),
                            second = builder.add_metric(names_[1]);
        for (std::size_t i = 0; i < 5; ++i) {
            const std::uint8_t type = static_cast<std::uint8_t>(1 + below(4));
            const auto sample = [&] {
                const double real = number();
                std::uint64_t bits = word();
                if (type == 2) std::memcpy(&bits, &real, sizeof bits);
                return bits;
            };
            builder.add_record({.timestamp = next_time(),
                                .metric_type = one_in(2) ? 'C' : 'G',
                                .value_type = type,
                                .label_set_id = set,
                                .labels = labels(),
                                .samples = {{first, sample()}, {second, sample()}}});
        }
        metrics::Histogram histogram;
        double bound = -8;
        for (std::size_t i = 0, count = below(6); i < count; ++i) {
            histogram.buckets.push_back(
                {bound += static_cast<double>(1 + below(40)) / 4, histogram.count += word() % 100});
        }
        histogram.count += 1;
        histogram.sum = number();
        histogram.name = "h" + text(true);
        histogram.timestamp = next_time();
        builder.add_histogram(histogram, {.label_set_id = set, .labels = labels()});
        return builder.build();
    }

    std::string data_file() {
        // No header names the other schema of events.
        std::size_t schema = 0;
        const std::size_t counters_schema = below(2);
        const vrn_data_file_header_ptr header(vrn_data_file_header_create());
        text(true).copy(header->source_id, sizeof header->source_id);
        text(true).copy(header->source_tag, sizeof header->source_tag);
        header->block_size = chunk_size;
        header->event_schema_ids[0] = event_schema_id(schema);
        static_cast<void>(vrn_schema_id_from_hex(schema_id('c', counters_schema).c_str(),
                                                 &header->counters_schema_id));
        ByteBuilder file;
        file.raw(header.get(), sizeof *header);
        for (std::size_t chunk = 0; chunk < 6; ++chunk) {
            const std::string blocks = chunk % 3 == 0   ? events_by_both(&schema)
                                       : chunk % 3 == 1 ? counters(counters_schema)
                                                        : metrics();
            file.text(chunk % 3 == 0 && one_in(2) ? encode_page(VRN_ENCODING_GZIP, blocks)
                                                  : blocks);
            file.pad_to(sizeof *header + (chunk + 1) * chunk_size);
        }
        return file.done();
    }

    std::mt19937_64 random_;
    std::string folder_;
    bool odd_values_, odd_times_;
    std::uint64_t time_ = 1700000000000000;
    std::vector<std::string> names_;
    std::vector<std::vector<EventType>> event_schemas_;
    std::vector<std::vector<std::uint32_t>> counters_;
};

}  // namespace
}  // namespace vrn::test

int main(int argc, char **argv) {
    const std::span<char *> arguments(argv, static_cast<std::size_t>(argc));
    if (argc < 4) {
        std::fputs("usage: random_archive FOLDER SEED FILES [odd-values] [odd-times]\n", stderr);
        return 64;
    }
    bool odd_values = false, odd_times = false;
    for (const std::string_view word : arguments.subspan(4)) {
        odd_values |= word == "odd-values";
        odd_times |= word == "odd-times";
    }
    vrn::test::Archive(arguments[1], std::strtoull(arguments[2], nullptr, 10), odd_values,
                       odd_times)
        .write(std::strtoull(arguments[3], nullptr, 10));
    return 0;
}
