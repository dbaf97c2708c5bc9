// Many files by several threads, for ThreadSanitizer, too.
#include <filesystem>

#include "data/data_file_header.h"
#include "support/byte_builder.h"
#include "support/temp_dir.h"
#include "support/test.h"
#include "vrn_check/check_run.h"

namespace vrn::check {
namespace {

namespace fs = std::filesystem;

// A file of one blob, which needs no schema, in a chunk of `chunk_size` bytes.
std::string file_of_blob(std::uint64_t blob_size) {
    const vrn_data_file_header_ptr header(vrn_data_file_header_create());
    header->block_size = 64;
    header->file_size = sizeof *header + 24;
    return test::ByteBuilder()
        .raw(header.get(), sizeof *header)
        .text("VRNB")
        .u64(0)
        .u64(blob_size)
        .u32(7)
        .done();
}

class CheckThreads : public testing::Test {
  protected:
    // What a run over the folder prints.
    std::string run(const std::string &folder, unsigned threads, const std::string &output = "") {
        const CheckOptions options = {Form::text, threads, "", output};
        std::vector<tool::InputFile> files;
        EXPECT_TRUE(tool::find_input_files({folder}, &files));
        testing::internal::CaptureStdout();
        totals_ = check_files(files, options);
        return testing::internal::GetCapturedStdout();
    }

    const test::TempDir dir_;
    Totals totals_;
};

TEST_F(CheckThreads, TellExactlyWhatIsWrongWhereverItIs) {
    constexpr int num_files = 2000;
    const std::string in = dir_.file("in"), out = dir_.file("out");
    std::string expected;
    for (int i = 0; i < num_files; ++i) {
        char name[64];
        std::snprintf(name, sizeof name, "in/%02d/..%04d\n\xff\x1b.bin", i / 100, i);
        const std::string shown = std::string(name).substr(0, 12) + "\\x0a\\xff\\x1b.bin: ";
        const std::string fault = "offset 256, lost 24: ";
        if (i % 20 == 3)
            expected += dir_.file(shown) + fault + "block_cut: A blob claims 9 bytes of 4\n";
        dir_.write(name, file_of_blob(i % 20 == 3 ? 9 : 4));
    }
    // A file that can be opened, but not read.
    fs::create_symlink("/proc/self/mem", in + "/unreadable");
    expected += in + "/unreadable: offset 0, lost 0: unreadable: Input/output error\n";
    expected += "Checked 2001 files of 560000 bytes: 101 faults in 101 files, 2400 bytes lost\n";
    const std::string one = run(in, 1);
    EXPECT_EQ(one, expected);
    EXPECT_EQ(run(in, 8), expected);

    run(in, 8, out);
    EXPECT_EQ(totals_.faults, 101U);
    EXPECT_EQ(totals_.salvaged, 2000U);
    EXPECT_EQ(totals_.left_out, 2100U);  // zeros at the end are padding
    run(out, 8);
    EXPECT_EQ(totals_.files, 2000U);
    EXPECT_EQ(totals_.faults, 0U);
}

}  // namespace
}  // namespace vrn::check
