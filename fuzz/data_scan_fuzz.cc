// Input: a byte of choices, then a data file for a scan that goes on after every fault. The lowest
// three bits choose where; with the fourth, pages are not walked but taken whole.
#include <algorithm>
#include <cstdlib>
#include <iterator>

#include "scan/data_file_scan.h"
#include "support/sample_files.h"
#include "support/temp_dir.h"

namespace {

using vrn::Bytes;
using vrn::scan::Next;
using vrn::scan::PageUse;

// Reads all bytes that it is shown, for the sanitizers.
class Reader final : public vrn::scan::Visitor {
  public:
    explicit Reader(std::uint8_t choices) : choices_(choices) {}

    void header(const vrn_data_file_header_t &header) override {
        // Larger chunks than any file here only take time to allocate.
        is_large_ = header.block_size > 1 << 20;
    }
    bool begin() override { return !is_large_; }
    PageUse page(const vrn::scan::CompressedPage &page) override {
        sum_ += static_cast<unsigned char>(page.source().source[0]);
        read(page.block);
        return (choices_ & 8) != 0 ? PageUse::payload : PageUse::blocks;
    }
    Next payload(const vrn::scan::CompressedPage & /*page*/, Bytes bytes) override {
        return read(bytes);
    }
    Next events(const vrn::scan::EventBatch &batch) override {
        if (batch.rows.size() != batch.count * batch.type->size) std::abort();
        return read(batch.rows);
    }
    Next counters(const vrn::scan::CountersBlock &block) override {
        if (block.held > block.row.size()) std::abort();
        return read(block.row);
    }
    Next metrics(const vrn::scan::PlainBlock &block) override { return read(block.bytes); }
    Next blob(const vrn::scan::PlainBlock &block) override { return read(block.bytes); }
    void padding(const vrn::scan::PlainBlock &rest) override { read(rest.bytes); }
    Next fault(const vrn::scan::Fault &fault) override {
        if (fault.lost > fault.block.size()) std::abort();
        if (std::find(std::begin(fault.reason), std::end(fault.reason), '\0') ==
            std::end(fault.reason))
            std::abort();
        read(fault.block);
        constexpr Next answers[] = {Next::block, Next::block, Next::run, Next::page, Next::chunk};
        return answers[choices_ % std::size(answers)];
    }

  private:
    Next read(Bytes bytes) {
        for (const std::uint8_t byte : bytes) sum_ += byte;
        return Next::block;
    }

    std::uint8_t choices_;
    bool is_large_ = false;
    std::uint64_t sum_ = 0;
};

vrn::scan::SchemaCache *make_schemas() {
    static const vrn::test::TempDir dir;
    vrn::test::write_sample_schemas(dir);
    static vrn::scan::SchemaCache schemas({.folder = dir.file("schema"), .take_what_loads = true});
    return &schemas;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static vrn::scan::SchemaCache *schemas = make_schemas();
    static vrn::scan::PageBuffer buffer;
    if (size == 0) return 0;
    Reader reader(data[0]);
    const auto source = vrn::ByteSource::open_memory({data + 1, size - 1});
    vrn::scan::DataFileScan(source.get(), schemas, &buffer, &reader).run();
    return 0;
}
