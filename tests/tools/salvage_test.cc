// Damaged files of every form: each record that lies outside of the damage comes out.
#include <sys/mman.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <span>

#include "data/data_file_header.h"
#include "metrics/cntx_block_view.h"
#include "metrics/record_view.h"
#include "scan/data_file_scan.h"
#include "support/file_limit.h"
#include "support/page_blocks.h"
#include "support/sample_files.h"
#include "support/stream_blocks.h"
#include "support/test.h"
#include "vrn_check/file_check.h"
#include "vrn_check/file_mend.h"
#include "vrn_check/file_salvage.h"

namespace vrn::check {
namespace {

using test::ByteBuilder;
using test::Lines;

// A record, where its block or page lies, and where it ends itself.
struct Record {
    std::string text;
    std::size_t begin, end, own_end;
};

std::string text_of(Bytes bytes) {
    return {reinterpret_cast<const char *>(bytes.data()), bytes.size()};
}

// Lists the records of a file and the faults of a strict reader.
class RecordList final : public scan::Visitor {
  public:
    std::vector<Record> records;
    Lines faults;

    void decoded(const scan::CompressedPage &page, Bytes /*bytes*/) override {
        page_end_ = page.place.block + page.block.size();
    }
    scan::Next events(const scan::EventBatch &batch) override {
        const std::string head = std::to_string(batch.header.timestamp) + batch.type->name;
        const std::size_t size = batch.type->size;
        for (std::size_t i = 0; i < batch.count; ++i)
            add(batch.place(), head + text_of(batch.rows.subspan(i * size, size)),
                16 + batch.rows.size(), 16 + (i + 1) * size);
        return scan::Next::block;
    }
    scan::Next counters(const scan::CountersBlock &block) override {
        add(block.place,
            std::to_string(block.header.timestamp) + text_of(block.row.first(block.held)),
            16 + block.held, 16 + block.held);
        return scan::Next::block;
    }
    scan::Next metrics(const scan::PlainBlock &block) override {
        for (Bytes rest = block.bytes; !scan::is_all_zero(rest);) {
            metrics::CntxBlockView view;
            const Bytes one = rest.first(metrics::read_total_size(rest));
            view.read(one, one);
            const std::size_t at = static_cast<std::size_t>(rest.data() - block.bytes.data());
            metrics::scan_records(view.records, [&](const metrics::RecordView &record) {
                LabelTexts labels;
                const std::size_t size =
                    metrics::walk_label_values(record.labels, record.label_values, labels);
                scan::Place place = block.place;
                place.block += at;
                add(place, std::to_string(record.timestamp) + text_of(record.samples) + labels.all,
                    one.size(),
                    static_cast<std::size_t>(record.label_values.data() - one.data()) + size);
                return size;
            });
            rest = rest.subspan(one.size());
        }
        return scan::Next::block;
    }
    scan::Next blob(const scan::PlainBlock &block) override {
        const std::size_t size = 20 + block.bytes[12];
        add(block.place, text_of(block.bytes.first(size)), size, size);
        return scan::Next::block;
    }
    scan::Next fault(const scan::Fault &fault) override {
        faults.emplace_back(fault.reason);
        return scan::Next::nothing;
    }

  private:
    struct LabelTexts {
        std::string all{};
        void id(std::size_t /*index*/, std::uint8_t id) { all += '#' + std::to_string(id); }
        void text(std::size_t /*index*/, std::string_view text) { all += text; }
    };

    void add(const scan::Place &place, std::string text, std::size_t size, std::size_t own_size) {
        if (place.is_in_page)
            records.push_back({std::move(text), place.block, page_end_, page_end_});
        else
            records.push_back(
                {std::move(text), place.block, place.block + size, place.block + own_size});
    }

    std::size_t page_end_ = 0;
};

vrn_schema_id_t id_of(const std::string &schema) {
    vrn_schema_id_t id{};
    EXPECT_TRUE(vrn_md5_of_string(schema.c_str(), &id));
    return id;
}

constexpr std::uint64_t first_time = 1000;  // of the first record of a sample stream

// Makes blocks no two of which are alike.
class Blocks {
  public:
    // Of type 0 rows have 4 bytes, of type 1 they have 32.
    std::string events(std::uint16_t type, std::uint8_t rows) {
        ByteBuilder block;
        block.text("VRNE").u64(time()).u8(0).u16(type).u8(rows);
        for (int row = 0; row < rows; ++row) block.text(values(type == 0 ? 4 : 32));
        return block.done();
    }
    std::string counters() {
        return ByteBuilder().text("VRND").u32(0).u64(time()).text(values(40)).done();
    }
    std::string metrics() {
        metrics::CntxBuilder builder = test::sample_stream();
        const std::uint8_t set = builder.add_label_set({"disk"});
        const std::uint16_t name = builder.add_metric("errors");
        for (int i = 0; i < 3; ++i)
            builder.add_record({.timestamp = time(),
                                .label_set_id = set,
                                .encoding = metrics::LabelEncoding::texts,
                                .labels = {metrics::CntxBuilder::label_by_text("sda")},
                                .samples = {{name, time()}}});
        return builder.build();
    }
    std::string blob() {
        return ByteBuilder().text("VRNB").u64(time()).u64(8).text(values(8)).done();
    }
    std::string schemas() {
        const vrn_schema_id_t id = id_of(test::sample_event_schema());
        ByteBuilder block;
        return block.text("VRNS").u16(256).u16(1).zeros(8).raw(&id, 16).pad_to(256).done();
    }
    std::string page(vrn_page_encoding_t encoding, const std::string &blocks) {
        return test::encode_page(encoding, blocks);
    }

  private:
    std::uint64_t time() { return first_time + ++made_; }
    std::string values(std::size_t size) {
        ByteBuilder bytes;
        while (bytes.done().size() < size) bytes.u16(static_cast<std::uint16_t>(++made_ * 31));
        return bytes.done();
    }

    std::uint64_t made_ = 0;
};

constexpr std::size_t ids_begin = 116, ids_end = 244;  // in a header

struct FileForm {
    const char *name;
    std::size_t chunk_size;
    std::vector<std::string> chunks;
    bool has_old_blocks = false;
};

std::vector<FileForm> make_forms() {
    Blocks b;
    // What an earlier user of the memory left after a block.
    const std::string old = b.counters().substr(20) + b.counters();
    const auto G = VRN_ENCODING_GZIP;
    const auto S = VRN_ENCODING_SNAPPY;
    return {
        {"events",
         400,
         {b.events(1, 2) + b.events(0, 3) + b.events(1, 1), b.schemas() + b.events(0, 9),
          b.events(0, 12) + b.events(0, 12) + b.events(1, 3) + b.events(0, 20)}},
        {"counters", 64, {b.counters(), b.counters(), b.counters(), b.counters()}},
        {"counters without padding", 56, {b.counters(), b.counters(), b.counters()}},
        {"counters with old blocks in their padding",
         160,
         {b.counters() + old, b.counters() + old, b.counters() + old, b.counters() + old},
         true},
        {"metrics", 700, {b.metrics(), b.metrics() + b.metrics(), b.metrics()}},
        {"pages",
         700,
         {b.page(G, b.events(1, 2) + b.events(0, 2)) + b.page(S, b.counters() + b.counters()),
          b.page(S, b.metrics()) + b.page(G, b.counters()),
          b.page(S, b.events(0, 5)) + b.page(G, b.metrics()) + b.page(S, b.events(1, 1))}},
        {"all kinds",
         520,
         {b.events(1, 2) + b.events(0, 2), b.counters(), b.blob(),
          b.page(G, b.events(1, 2)) + b.page(S, b.counters()), b.metrics(), b.counters(),
          b.events(0, 7)}},
    };
}

std::string file_of(const FileForm &form) {
    const vrn_data_file_header_ptr header(vrn_data_file_header_create());
    header->block_size = static_cast<std::uint32_t>(form.chunk_size);
    header->first_timestamp = first_time;
    header->last_timestamp = first_time + 100000;
    header->event_schema_ids[0] = id_of(test::sample_event_schema());
    header->counters_schema_id = id_of(test::sample_counters_schema());
    ByteBuilder file;
    file.raw(header.get(), sizeof *header);
    std::size_t end = sizeof *header;
    for (const std::string &chunk : form.chunks) {
        EXPECT_LE(chunk.size(), form.chunk_size) << form.name;
        file.pad_to(end).text(chunk);
        end += form.chunk_size;
    }
    std::string bytes = file.done();
    const std::uint64_t size = bytes.size();
    std::memcpy(bytes.data() + offsetof(vrn_data_file_header_t, file_size), &size, sizeof size);
    return bytes;
}

class Salvage : public testing::Test {
  protected:
    Salvage() {
        for (const std::string &schema :
             {test::sample_event_schema(), test::sample_counters_schema()}) {
            write_schema("schema", schema);
            // Of the same layout.
            for (const char *end : {" ", "  "}) write_schema("other", schema + end);
        }
        schemas_ = std::make_unique<SchemaTexts>(dir_.file("schema"));
    }

    RecordList list(const std::string &bytes) {
        RecordList list;
        const auto source = ByteSource::open_memory(bytes_of(bytes));
        scan::DataFileScan(source.get(), schemas_->cache(), &page_, &list).run();
        return list;
    }

    // What comes out of damaged bytes.
    std::string salvage(const std::string &bytes) {
        const std::string path = dir_.write("a.bin", bytes);
        told_.clear();
        const auto take = [&](const std::string &, const FileFault &fault) {
            told_.emplace_back(fault.kind);
        };
        FileSalvage(path, &output_, "a.bin", schemas_.get(), &page_, take).run();
        std::string salvaged = test::read_file(dir_.file("out/a.bin"));
        std::filesystem::remove(dir_.file("out/a.bin"));
        return salvaged;
    }

    // `is_hit` tells the records that the damage may take.
    template <typename IsHit>
    void expect_all_but(const RecordList &whole, const std::string &damaged, IsHit is_hit) {
        expect_sound(whole, salvage(damaged), is_hit);
    }

    template <typename IsHit>
    void expect_sound(const RecordList &whole, const std::string &output, IsHit is_hit) {
        const std::string path = "out.bin";
        const auto take = [&](const FileFault &fault) {
            ADD_FAILURE() << fault_line(Form::text, path, fault);
        };
        FileCheck(path, schemas_.get(), &page_, take)
            .run(ByteSource::open_memory(bytes_of(output)), output.size());
        expect_records(whole, output, is_hit);
    }

    template <typename IsHit>
    void expect_records(const RecordList &whole, const std::string &output, IsHit is_hit) {
        const RecordList left = list(output);
        ASSERT_EQ(left.faults, Lines{});
        auto at = left.records.begin();
        for (const Record &record : whole.records) {
            if (is_hit(record)) continue;
            at = std::find_if(at, left.records.end(),
                              [&](const Record &other) { return other.text == record.text; });
            ASSERT_NE(at, left.records.end()) << "lost: the record at " << record.begin;
            ++at;
        }
        num_made_up_ = std::ranges::count_if(left.records, [&](const Record &record) {
            return std::ranges::find(whole.records, record.text, &Record::text) ==
                   whole.records.end();
        });
    }

    void write_schema(const std::string &folder, const std::string &schema) {
        const vrn_schema_id_t id = id_of(schema);
        char hex[VRN_SCHEMA_ID_HEX_SIZE];
        vrn_schema_id_format(&id, hex);
        dir_.write(folder + "/schema_" + hex + ".json", schema);
    }

    Lines told_;                      // kinds, of the last salvage
    std::ptrdiff_t num_made_up_ = 0;  // records of the last output that weren't there before
    test::TempDir dir_;
    std::unique_ptr<SchemaTexts> schemas_;
    scan::PageBuffer page_;
    OutputFolder output_{dir_.file("out")};
};

TEST_F(Salvage, KeepsAllButWhatIsCut) {
    for (const FileForm &form : make_forms()) {
        SCOPED_TRACE(form.name);
        const std::string bytes = file_of(form);
        const RecordList whole = list(bytes);
        ASSERT_EQ(salvage(bytes), bytes);
        expect_sound(whole, bytes, [](const Record &) { return false; });
        for (std::size_t size = 256; size < bytes.size(); ++size) {
            SCOPED_TRACE(size);
            expect_all_but(whole, bytes.substr(0, size),
                           [&](const Record &record) { return record.own_end > size; });
            if (HasFatalFailure()) return;
        }
    }
}

TEST_F(Salvage, KeepsAllButTheBlockWithAFlippedBit) {
    for (const FileForm &form : make_forms()) {
        SCOPED_TRACE(form.name);
        const std::string bytes = file_of(form);
        const RecordList whole = list(bytes);
        for (std::size_t bit = 0; bit < 8 * bytes.size(); ++bit) {
            const std::size_t byte = bit / 8;
            SCOPED_TRACE("byte " + std::to_string(byte) + " bit " + std::to_string(bit % 8));
            std::string damaged = bytes;
            damaged[byte] = static_cast<char>(damaged[byte] ^ (1 << bit % 8));
            const auto is_hit = [&](const Record &record) {
                return record.begin <= byte && byte < record.end;
            };
            expect_all_but(whole, damaged, is_hit);
            if (HasFatalFailure()) return;
            // Type and number of the rows of an event block: those it has may look like others.
            const auto hit = std::ranges::find_if(whole.records, is_hit);
            const bool is_of_rows =
                hit != whole.records.end() && byte - hit->begin >= 12 && byte - hit->begin < 16;
            EXPECT_TRUE(is_of_rows || form.has_old_blocks ||
                        num_made_up_ <= std::ranges::count_if(whole.records, is_hit));
        }
    }
}

// Bytes that were overwritten (with anything or with zeros), put in or lost, also of the header.
TEST_F(Salvage, KeepsAllOutsideOfDamagedRuns) {
    std::mt19937 random(7);
    const auto below = [&](std::size_t limit) { return random() % limit; };
    for (const FileForm &form : make_forms()) {
        SCOPED_TRACE(form.name);
        const std::string bytes = file_of(form);
        const RecordList whole = list(bytes);
        for (int round = 0; round < 600; ++round) {
            const std::size_t begin = below(bytes.size());
            std::size_t size = 1 + below(round % 2 == 0 ? 20 : 2 * form.chunk_size);
            // A whole chunk that is lost in the middle of two leaves the grid as it was.
            if (size % form.chunk_size == 0) ++size;
            const std::size_t end = std::min(begin + size, bytes.size());
            const std::size_t way = below(4);
            std::string junk(way == 1 ? end - begin : size, '\0');
            if (way != 1) std::ranges::generate(junk, random);
            std::string damaged = bytes;
            damaged.replace(begin, way == 2 ? 0 : end - begin, way == 3 ? "" : junk);
            SCOPED_TRACE("way " + std::to_string(way) + " from " + std::to_string(begin) + " to " +
                         std::to_string(end));
            const std::size_t last = way == 2 ? begin : end;
            std::string output = salvage(damaged);
            // Junk all over an id may be that of a missing schema. It stays, as do the blocks.
            if (output.substr(0, ids_end) == damaged.substr(0, ids_end))
                output.replace(ids_begin, ids_end - ids_begin, bytes, ids_begin,
                               ids_end - ids_begin);
            expect_sound(whole, output, [&](const Record &record) {
                return record.begin < last && begin < record.end;
            });
            if (HasFatalFailure()) return;
        }
    }
}

// A file keeps the ids of schemas that are missing, and with them blocks that can't be read.
TEST_F(Salvage, GivesNoFileTheSchemasOfAnother) {
    auto own = std::make_unique<SchemaTexts>(dir_.file("schema"));
    const auto other = dir_.file("other");
    for (const FileForm &form : make_forms()) {
        SCOPED_TRACE(form.name);
        const std::string bytes = file_of(form);
        schemas_ = std::make_unique<SchemaTexts>(other);
        EXPECT_EQ(salvage(bytes), bytes);
        EXPECT_EQ(told_, (Lines{"schema_missing", "schema_missing"}));
        const std::size_t cut = bytes.size() - 5;
        const std::string output = salvage(bytes.substr(0, cut));
        EXPECT_EQ(output.substr(ids_begin, ids_end - ids_begin),
                  bytes.substr(ids_begin, ids_end - ids_begin));
        schemas_ = std::move(own);
        expect_records(list(bytes), output,
                       [&](const Record &record) { return record.own_end > cut; });
        // Nothing of such a header is known, so that its ids may be those of others.
        std::string damaged = bytes;
        std::fill_n(damaged.begin() + ids_begin, sizeof(vrn_schema_id_t), 'j');
        damaged[0] = 'j';
        expect_all_but(list(bytes), damaged, [](const Record &) { return false; });
        EXPECT_EQ(std::ranges::count(told_, "schema_replaced"), 1);
        own = std::move(schemas_);
    }
}

TEST_F(Salvage, DoesWithoutAHeader) {
    for (const FileForm &form : make_forms()) {
        SCOPED_TRACE(form.name);
        const std::string bytes = file_of(form);
        for (const std::string &damaged :
             {bytes.substr(256), std::string(256, 'x') + bytes.substr(256)})
            expect_all_but(list(bytes), damaged, [](const Record &) { return false; });
    }
}

// Of a compressed file: all up to where its bytes come out changed, or no more.
TEST_F(Salvage, KeepsAllBeforeAFlippedBitOfAGzipFile) {
    const std::string bytes = file_of(make_forms().back());
    const RecordList whole = list(bytes);
    const std::string packed = test::encode(VRN_ENCODING_GZIP, bytes);
    const OutputFolder output(dir_.file("out"));
    std::size_t num_kept = 0;
    // Without the magic, which makes it no gzip file. Some of the bits stand for all.
    for (std::size_t bit = 8 * 3; bit < 8 * packed.size(); bit += 13) {
        SCOPED_TRACE(bit);
        std::string damaged = packed;
        damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ (1 << bit % 8));
        std::string inflated(2 * bytes.size(), '\0');
        const auto source = ByteSource::open_memory(bytes_of(damaged));
        inflated.resize(source->read(inflated.data(), inflated.size()));
        const auto same =
            static_cast<std::size_t>(std::ranges::mismatch(inflated, bytes).in1 - inflated.begin());
        const std::string path = dir_.write("a.gz", damaged);
        FileSalvage(path, &output, "a", schemas_.get(), &page_, [](auto &&...) {}).run();
        const std::string name = dir_.file("out/a");
        // Without its header's first bytes it is no data file.
        if (!std::filesystem::exists(name)) continue;
        expect_sound(whole, test::read_file(name),
                     [&](const Record &record) { return record.end > same; });
        if (HasFatalFailure()) return;
        num_kept += same >= bytes.size() ? 1 : 0;
        std::filesystem::remove(name);
    }
    // Flips of the stream's head and checksum leave all.
    EXPECT_GT(num_kept, 8U);
}

// A header without events has its schemas from a block, which may have fewer ids than headers do.
TEST_F(Salvage, TakesSchemasFromABlock) {
    Blocks b;
    std::string short_block = b.schemas().substr(0, 32);
    short_block[4] = 32;
    short_block[5] = 0;
    const std::string earliest = b.events(0, 1);
    const std::vector<FileForm> forms = {
        {"short", 600, {short_block + b.events(0, 60)}},
        // Only who knows the schemas sees a block in the row before them.
        {"row like a block",
         400,
         {b.counters().substr(0, 36) + earliest + b.schemas() + b.events(0, 9)}},
    };
    for (const FileForm &form : forms) {
        SCOPED_TRACE(form.name);
        std::string bytes = file_of(form);
        const RecordList whole = list(bytes);
        bytes.replace(offsetof(vrn_data_file_header_t, event_schema_ids), 16, 16, '\0');
        expect_all_but(whole, bytes, [](const Record &record) {
            return record.text.find("VRNE") != std::string::npos;
        });
    }
}

TEST_F(Salvage, WritesWholeFilesOrNone) {
    const std::string bytes = file_of(make_forms().back());
    const std::string packed = test::encode(VRN_ENCODING_GZIP, bytes);
    const std::string path = dir_.write("a.gz", packed.substr(0, packed.size() - 12));
    const OutputFolder output(dir_.file("out"));
    const auto run = [&] {
        const auto take = [](const std::string &, const FileFault &) {};
        return FileSalvage(path, &output, "x/a", schemas_.get(), &page_, take).run();
    };
    for (const std::size_t limit : {0, 1000})
        test::with_file_limit(limit, [&] { EXPECT_THROW(run(), std::runtime_error); });
    EXPECT_TRUE(test::files_in(dir_.file("out/x")).empty());
    const Totals totals = run();
    EXPECT_EQ(totals.salvaged, 1U);
    EXPECT_GT(totals.faults, 0U);

    // All that inflates, up to the last record.
    const RecordList whole = list(bytes), left = list(test::read_file(dir_.file("out/x/a")));
    EXPECT_EQ(left.faults, Lines{});
    EXPECT_GE(left.records.size() + 7, whole.records.size());
    EXPECT_TRUE(std::ranges::equal(left.records,
                                   std::span(whole.records).first(left.records.size()), {},
                                   &Record::text, &Record::text));
}

}  // namespace
}  // namespace vrn::check
