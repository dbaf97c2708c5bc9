#include "vrn_export/shard_merge.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <set>
#include <stdexcept>
#include <vector>

#include "common/shown_text.h"
#include "vrn_export/export_options.h"
#include "vrn_export/report_file.h"
#include "vrn_export/report_text.h"
#include "vrn_export/run_report.h"
#include "vrn_export/shard_folder.h"
#include "vrn_export/table_join.h"

namespace vrn::exporter {
namespace {

class ShardMerge {
  public:
    explicit ShardMerge(const std::string &folder) : folder_(folder), count_(find_count()) {}

    int run(const std::string &report_file) {
        refuse_missing();
        // Before a name is printed.
        for (std::uint64_t i = 1; i <= count_; ++i) check({i, count_});
        if (totals_.files != first_.all_files)
            throw std::runtime_error("the shards hold " + std::to_string(totals_.files) + " of " +
                                     std::to_string(first_.all_files) + " inputs");
        const int status = totals_.faults > 0 ? damaged_status : EXIT_SUCCESS;
        inputs_ = tool::InputIds(std::move(ids_));
        // Last, so that what can't be merged leaves an old report as it is.
        if (!report_file.empty()) report_file_.emplace(report_file, inputs_);
        if (!first_.tables.empty()) tables_.emplace(TablePlaces{folder_, first_.tables}, inputs_);
        for (std::uint64_t i = 1; i <= count_; ++i) give({i, count_});
        if (tables_)
            for (const std::string &table : tables_->finish()) std::puts(table.c_str());
        if (!report_file_) return status;
        report_file_->write(totals_line(totals_, seconds_, status));
        report_file_->finish();
        return status;
    }

  private:
    std::string path_of(const Shard &shard) const {
        return folder_ + "/" + shard_report_name(shard);
    }

    // How many shards the export has, by the names of those that are there.
    std::uint64_t find_count() const {
        std::set<std::uint64_t> counts;
        std::error_code error;
        const std::filesystem::path folder = folder_ + "/" + shard_folder_name;
        for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
             entry.increment(error)) {
            unsigned long long number = 0;
            unsigned long long count = 0;
            const std::string name = entry->path().filename();
            // Journals are there from the start of a shard, so unfinished ones count. The name is
            // made again because sscanf() takes signs and zeros that we never write.
            if (std::sscanf(name.c_str(), "shard-%llu-of-%llu", &number, &count) == 2 &&
                journal_name({number, count}) == std::string(shard_folder_name) + "/" + name)
                counts.insert(count);
        }
        if (counts.size() == 1 && *counts.begin() > 0 && *counts.begin() <= max_shards)
            return *counts.begin();
        throw std::runtime_error(tool::shown_text(folder.string()) +
                                 (counts.empty() ? " holds no shards"
                                                 : " holds shards of several exports; keep the "
                                                   "files shard-K-of-N of one N"));
    }

    void refuse_missing() const {
        std::string missing;
        for (std::uint64_t i = 1; i <= count_; ++i)
            if (!std::filesystem::exists(path_of({i, count_})))
                missing += (missing.empty() ? "" : ", ") + std::to_string(i);
        if (!missing.empty())
            throw std::runtime_error("of " + std::to_string(count_) +
                                     " shards these are missing or not finished: " + missing);
    }

    void check(const Shard &shard) {
        std::ifstream file(path_of(shard), std::ios::binary);
        std::string line;
        ShardHead head;
        struct stat status {};
        if (!find(path_of(shard), &status) || !std::getline(file, line) ||
            !parse_shard_head(line, &head) || head.shard != shard)
            fail(shard, "its report can't be read");
        if (shard.number == 1) first_ = head;
        if (head.inputs != first_.inputs || head.all_files != first_.all_files)
            fail(shard, "it was made of other inputs than shard 1");
        if (head.options != first_.options)
            fail(shard, "it was made by other options than shard 1");
        for (FileReport report; std::getline(file, line) && parse_report_line(line, &report);) {
            if (!find_part(report))
                fail(shard, "the part " + tool::shown_text(report.part) + " is not what it wrote");
            totals_.add(report);
            seconds_ += report.seconds;
        }
        if (!file) fail(shard, "its report has no end");
        if (!is_totals_line(line)) fail(shard, "its report has a line that is none of a report");
    }

    bool find_part(const FileReport &report) {
        if (report.part.empty()) return true;
        struct stat status {};
        if (!find(folder_ + "/" + report.part, &status)) return false;
        return static_cast<std::uint64_t>(status.st_size) == report.bytes_out;
    }

    bool find(const std::string &path, struct stat *status) {
        if (stat(path.c_str(), status) != 0) return false;
        ids_.emplace_back(*status);
        return true;
    }

    [[noreturn]] static void fail(const Shard &shard, const std::string &cause) {
        throw std::runtime_error("shard " + std::to_string(shard.number) + " of " +
                                 std::to_string(shard.count) + ": " + cause);
    }

    // Reads the report a second time rather than holding it: there may be millions of files.
    void give(const Shard &shard) {
        std::ifstream file(path_of(shard), std::ios::binary);
        std::string line;
        std::getline(file, line);
        for (FileReport report; std::getline(file, line) && parse_report_line(line, &report);) {
            if (!report.part.empty()) give_part(report.part);
            if (report_file_) report_file_->write(line + "\n");
        }
    }

    void give_part(const std::string &part) {
        if (tables_)
            tables_->add(part);
        else
            std::puts(part.c_str());
    }

    const std::string &folder_;
    std::uint64_t count_;
    ShardHead first_;
    std::vector<tool::FileId> ids_;  // of what was found
    tool::InputIds inputs_;          // all of them
    RunTotals totals_;
    double seconds_ = 0;
    std::optional<ReportFile> report_file_;
    std::optional<TableJoin> tables_;  // of formats that have them
};

}  // namespace

int merge_shards(const std::string &folder, const std::string &report_file) {
    return ShardMerge(folder).run(report_file);
}

}  // namespace vrn::exporter
