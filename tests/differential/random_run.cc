#include "differential/random_run.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>
#include <vector>

#include "data/block.h"
#include "support/page_blocks.h"
#include "support/sample_files.h"
#include "support/stream_blocks.h"

namespace vrn::test {
namespace {

constexpr char second_events_id[] = "33333333333333333333333333333333";
constexpr char broken_events_id[] = "44444444444444444444444444444444";
constexpr char missing_id[] = "55555555555555555555555555555555";
constexpr char noisy_counters_id[] = "66666666666666666666666666666666";
constexpr char no_id[] = "00000000000000000000000000000000";

std::string from_hex(const std::string &hex) {
    vrn_schema_id_t id{};
    static_cast<void>(vrn_schema_id_from_hex(hex.c_str(), &id));
    return {reinterpret_cast<const char *>(id.bytes), sizeof id.bytes};
}

class RunMaker {
  public:
    RunMaker(std::uint64_t seed, std::string folder) : random_(seed), folder_(std::move(folder)) {}

    std::string make() {
        write_schemas();
        std::string files;
        for (std::size_t i = 0, count = 1 + below(3); i < count; ++i) {
            const std::string name = "f" + std::to_string(i) + ".bin";
            write(name, damaged(data_file()));
            files += " " + name;
            if (chance(5)) files += " " + name;
        }
        if (chance(20)) files += " none.bin";
        return options() + files;
    }

  private:
    std::size_t below(std::size_t limit) { return random_() % limit; }
    bool chance(std::size_t one_in) { return below(one_in) == 0; }
    std::string pick(const std::vector<std::string> &texts) { return texts[below(texts.size())]; }

    void write(const std::string &name, const std::string &bytes) {
        std::filesystem::create_directories(
            std::filesystem::path(folder_ + "/" + name).parent_path());
        std::ofstream(folder_ + "/" + name, std::ios::binary) << bytes;
    }
    void write_schema(const std::string &id, const std::string &text) {
        write("schema/schema_" + id + ".json", text);
    }

    void write_schemas() {
        const std::string events = sample_event_schema();
        const std::string counters = sample_counters_schema();
        write_schema(sample_events_id, events);
        std::string second = events;
        second.replace(second.find("point"), 5, "dot");
        write_schema(second_events_id, second);
        write_schema(broken_events_id, events.substr(0, events.size() / 2));
        write_schema(sample_counters_id, counters);
        std::string noisy = counters;
        noisy.replace(noisy.find("\"provider\""), 10, "\"no-name\"");
        write_schema(noisy_counters_id, noisy);
        write("points.fset", "[point]\nx\n");
        write("moves.fset", "[mo*]\n");
        write("a.cset", "^a$\n");
        write("bad.cset", "x=\n");
        write("schema/metadata_x.json",
              R"({"metadata_content":{"counters":{"name_match_labels":[{"matches_and_labels":[
{"pattern_match":["a"],"labels":{"unit":"b"}}]}]}}})");
    }

    std::string options() {
        std::string text =
            "-f " + pick({"json", "ndjson", "ndjson", "txt", "csv", "influx", "bin"});
        text += " -v " + pick({"0", "3", "4", "6", "6", "7"});
        for (const char *flag :
             {"-p", "-u", "-M", "-I", "-S", "-Ssource_tag", "-i point", "-e 'mo*'",
              "-F points.fset", "-F moves.fset", "--cset-file a.cset", "--cset-file bad.cset",
              "-g 1000", "-l 1500", "-g 9 -l 1"})
            if (chance(9)) text += std::string(" ") + flag;
        return text + " -s schema --output-dir out";
    }

    std::string schema_id() {
        return from_hex(chance(12) ? pick({broken_events_id, missing_id, no_id, no_id})
                                   : pick({sample_events_id, second_events_id}));
    }

    std::string header() {
        block_size_ = pick_size();
        ByteBuilder bytes;
        bytes.text("VRNF").u32(chance(30) ? 2049 : 1793).u64(chance(30) ? 255 : 256);
        bytes.field(pick({"node1", "node2"}), 64).field(pick({"t", "u"}), 16);
        bytes.u64(below(2000)).u64(below(2000)).u32(static_cast<std::uint32_t>(block_size_));
        bytes.raw(from_hex(pick({sample_counters_id, sample_counters_id, noisy_counters_id, no_id,
                                 chance(10) ? missing_id : sample_counters_id})));
        const std::size_t ids = chance(8) ? 0 : 1 + below(3);
        for (std::size_t i = 0; i < 7; ++i) bytes.raw(i < ids ? schema_id() : from_hex(no_id));
        return bytes.u8(0).zeros(7).text("vrnf").done();
    }

    std::size_t pick_size() {
        const std::size_t sizes[] = {15, 16, 17, 40, 64, 100, 384, 384, 1024, 1024, 40000};
        return sizes[below(std::size(sizes))];
    }

    std::string noise(std::size_t size) {
        std::string bytes(size, '\0');
        for (char &byte : bytes) byte = chance(3) ? "VRNEDSPX"[below(8)] : char(below(256));
        return bytes;
    }

    std::string event_block() {
        const std::size_t type = chance(12) ? below(300) : below(2);
        const std::size_t rows = chance(10) ? 0 : 1 + below(4);
        ByteBuilder block;
        block.text("VRNE").u64(1000);
        block.u8(static_cast<std::uint8_t>(chance(15) ? below(9) : 0));
        block.u16(static_cast<std::uint16_t>(type)).u8(static_cast<std::uint8_t>(rows));
        const std::size_t row_size = type == 1 ? 32 : 4;
        return block.raw(noise(rows * row_size)).done();
    }

    std::string schemas_block() {
        const std::size_t ids = chance(12) ? below(17) : 1 + below(2);
        ByteBuilder block;
        block.text("VRNS").u16(static_cast<std::uint16_t>(chance(15) ? below(400) : 256));
        block.u16(static_cast<std::uint16_t>(ids)).zeros(8);
        for (std::size_t i = 0; i < std::min<std::size_t>(ids, 14); ++i) block.raw(schema_id());
        return block.pad_to(256).done();
    }

    std::string event_run() {
        std::string run;
        for (std::size_t i = 0, count = 1 + below(5); i < count; ++i)
            run += chance(5) ? schemas_block() : event_block();
        if (chance(6)) run += noise(below(20));
        if (chance(6)) run += std::string(below(40), '\0');
        return run;
    }

    std::string counters_block() {
        ByteBuilder block;
        block.text("VRND").u32(0).u64(chance(2) ? 1200 : 1700000000000000);
        return block.raw(chance(3) ? noise(40) : std::string(40, '\1')).done();
    }

    std::string metrics_block() {
        std::string block = sample_stream().build();
        if (chance(5)) block[below(block.size())] = char(below(256));
        return block;
    }

    std::string payload() {
        switch (below(8)) {
            case 0:
                return "VRNB" + noise(30);
            case 1:
                return noise(below(60));
            case 2:
                return metrics_block();
            case 3:
            case 4: {
                std::string blocks;
                for (std::size_t i = 0, count = 1 + below(4); i < count; ++i)
                    blocks += counters_block();
                return blocks;
            }
            default:
                return event_run();
        }
    }

    std::string page() {
        std::string block =
            encode_page(chance(2) ? VRN_ENCODING_GZIP : VRN_ENCODING_SNAPPY, payload());
        if (chance(10)) block[below(block.size())] ^= char(1 << below(8));
        return block;
    }

    std::string chunk() {
        switch (below(9)) {
            case 0:
                return noise(block_size_);
            case 1:
                return metrics_block();
            case 2:
                return counters_block();
            case 3:
            case 4:
                return event_run();
            case 5:
                return "VRNB" + noise(40);
            default: {
                std::string pages;
                for (std::size_t i = 0, count = 1 + below(3); i < count; ++i) pages += page();
                return pages;
            }
        }
    }

    std::string data_file() {
        ByteBuilder file;
        file.raw(header());
        const std::size_t size = std::max<std::size_t>(block_size_, 16);
        for (std::size_t i = 0, count = below(7); i < count; ++i) {
            // Unknown chunks end a file, so most are left out.
            std::string bytes = chunk();
            if (!chance(4) && vrn_block_type_of((bytes + "....").data()) == VRN_UNKNOWN_BLOCK)
                continue;
            if (bytes.size() > size && !chance(3)) bytes.resize(size);
            file.raw(bytes);
            const std::size_t past = (file.done().size() - 256) % size;
            if (past != 0 && !(i + 1 == count && chance(2))) file.zeros(size - past);
        }
        return file.done();
    }

    std::string damaged(std::string bytes) {
        if (chance(6)) bytes.resize(below(bytes.size() + 1));
        if (chance(6) && !bytes.empty()) bytes[below(bytes.size())] ^= char(1 << below(8));
        if (!chance(4)) return bytes;
        bytes = encode(VRN_ENCODING_GZIP, bytes);
        if (chance(6)) bytes += encode(VRN_ENCODING_GZIP, event_run());
        if (chance(6)) bytes += noise(below(40));
        if (chance(3)) bytes.resize(below(bytes.size() + 1));
        if (chance(3) && !bytes.empty()) bytes[below(bytes.size())] ^= char(1 << below(8));
        return bytes;
    }

    std::mt19937_64 random_;
    std::string folder_;
    std::size_t block_size_ = 0;
};

}  // namespace

std::string make_random_run(std::uint64_t seed, const std::string &folder) {
    return RunMaker(seed, folder).make();
}

}  // namespace vrn::test
