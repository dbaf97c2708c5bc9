// Input: a byte of choices, then what an output folder of vrn_export holds: the rows of a part
// (with the lowest bit), or the lines of a journal and of a shard's report.
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <string>

#include "support/temp_dir.h"
#include "vrn_export/part_journal.h"
#include "vrn_export/report_text.h"
#include "vrn_export/shard_folder.h"
#include "vrn_export/table_join.h"

namespace {

using namespace vrn::exporter;

// Tables take no other names than those of files in the folder.
void join(const std::string &content) {
    static const vrn::test::TempDir dir;
    const std::string folder = dir.file("out");
    dir.write("out/part", content);
    try {
        const vrn::tool::InputIds inputs;
        TableJoin tables({folder, ".csv"}, inputs);
        tables.add("part");
        for (const std::string &name : tables.finish()) {
            if (name != "part" && !std::filesystem::is_regular_file(folder + "/" + name))
                std::abort();
            std::filesystem::remove(folder + "/" + name);
        }
    } catch (const std::runtime_error &) {
    }
}

// What is read of a line is written as one that reads the same.
void read_line(const std::string &line) {
    FileReport report, again;
    ShardHead head;
    static_cast<void>(parse_shard_head(line, &head));
    static_cast<void>(is_totals_line(line));
    if (!parse_report_line(line, &report)) return;
    // The seconds of a hostile line are cut.
    report.seconds = 0;
    const std::string written = report_line(report);
    if (!parse_report_line(written, &again) || report_line(again) != written) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size == 0) return 0;
    const std::string content(data + 1, data + size);
    if ((data[0] & 1) != 0) {
        join(content);
        return 0;
    }
    std::istringstream lines(content);
    std::string first;
    for (std::string line; std::getline(lines, line);) {
        if (first.empty()) first = line;
        read_line(line);
    }
    // What is found of a part stands in the journal as it is.
    static const vrn::test::TempDir dir;
    const PartJournal journal(dir.file(""), dir.write("journal", content), first, true);
    if (const auto line = journal.find("a.ndjson"))
        if (content.find(line->substr(0, line->size() - 1)) == content.npos) std::abort();
    return 0;
}
