#include "vrn_export/export_tool.h"

#include <sys/resource.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <utility>

#include "common/input_files.h"
#include "common/shown_text.h"
#include "common/tool_main.h"
#include "scan/schema_folder.h"
#include "vrn_export/content_list.h"
#include "vrn_export/export_run.h"
#include "vrn_export/format/schema_learning.h"
#include "vrn_export/input_list.h"
#include "vrn_export/part_name.h"
#include "vrn_export/part_output.h"
#include "vrn_export/progress.h"
#include "vrn_export/report_file.h"
#include "vrn_export/run_report.h"
#include "vrn_export/shard_folder.h"
#include "vrn_export/shard_merge.h"
#include "vrn_export/signal_watch.h"
#include "vrn_export/stream_output.h"
#include "vrn_export/table_join.h"
#include "vrn_export/table_output.h"
#include "vrn_export/whole_file.h"

namespace vrn::exporter {
namespace {

constexpr int signal_status = 128;
// Beyond it, one line more says where to find all of them.
constexpr std::uint64_t max_told = 100;  // damaged files
// Bytes for sorting. A run has one stream, but each thread may have parts under way.
constexpr std::size_t stream_spool_memory = 64 << 20;
constexpr std::size_t part_spool_memory = 8 << 20;

// A part under way holds a file, and so does an input.
void allow_many_files() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

std::string temporary_folder() {
    const char *folder = std::getenv("TMPDIR");
    return folder && *folder ? folder : "/tmp";
}

// Of the files and of the sets that select in them.
tool::InputIds find_input_ids(const std::vector<tool::InputFile> &files,
                              const SelectionOptions &selection) {
    std::vector<tool::FileId> ids = tool::ids_of(files);
    for (const std::string &set : {selection.field_set_file, selection.counter_set_file}) {
        struct stat status {};
        if (stat(set.c_str(), &status) == 0) ids.emplace_back(status);
    }
    return tool::InputIds(std::move(ids));
}

// Where one run puts its text and what it tells of it.
class ExportJob {
  public:
    ExportJob(const ExportOptions &options, const std::vector<std::string> &operands)
        : options_(options),
          options_text_(options_line(options)),
          schemas_(
              {.folder = options.schema_path, .take_what_loads = true, .keep_noisy_loads = true}) {
        if (has_folder()) refuse_output_among_inputs(operands, options.output_folder);
        found_all_ = tool::find_input_files(operands, &files_);
        format_ = make_format(options.format);
        inputs_ = find_input_ids(files_, options.format.selection);
        tool::refuse_output_into_input(inputs_);
        // Before shards are cut: a list that one shard refuses is refused by all of them.
        if (has_parts()) give_each_a_part(suffix(), &files_);
        // Of all inputs, so that all shards have the same heads.
        if (format_->wants_schemas())
            options_text_ += " " + learn_schemas(schema_folders(), format_.get());
        if (options.shard) take_shard();
    }

    int list() {
        ContentList contents(*format_, &schemas_);
        for (const tool::InputFile &file : files_) contents.add(file);
        if (!options_.report_file.empty()) {
            ReportFile report(options_.report_file, inputs_);
            report.write(contents.json());
            report.finish();
        }
        std::fputs(contents.text().c_str(), stdout);
        if (!found_all_) return failed_status;
        return contents.has_faults() ? damaged_status : EXIT_SUCCESS;
    }

    int run() {
        std::vector<RunReport::Write> writers;
        if (!options_.report_file.empty()) writers.push_back(open_report());
        // Before the journal begins anew: where a shard's report stands, its parts are whole.
        if (has_parts()) writers.push_back(open_shard_report());
        RunReport report(std::move(writers));
        make_output();
        const int status = convert(&report);
        report.finish(status);
        if (report_file_) report_file_->finish();
        // After a failure or a signal the shard isn't done, and must not look so to a merge.
        if (shard_report_ && status <= damaged_status) shard_report_->finish();
        return status;
    }

  private:
    bool has_folder() const { return !options_.output_folder.empty(); }
    bool has_tables() const { return has_folder() && format_->has_file_per_table(); }
    // Tables of all inputs are joined from parts where a later run may need those.
    bool has_parts() const {
        return has_folder() && (!has_tables() || options_.shard || options_.resumes);
    }
    Shard shard() const { return options_.shard.value_or(Shard()); }
    std::string suffix() const {
        return std::string(format_->suffix()) + suffix_of(options_.compression);
    }
    std::string path_below(const std::string &name) const {
        return options_.output_folder + "/" + name;
    }

    TablePlaces table_places() const { return {options_.output_folder, suffix()}; }

    std::set<std::string> schema_folders() const {
        std::set<std::string> folders;
        for (const tool::InputFile &file : files_)
            folders.insert(scan::schema_folder_of(file.path, options_.schema_path));
        return folders;
    }

    void take_shard() {
        all_files_ = files_.size();
        // Keeps all and sorts them: the digest must not hang on the order of the operands.
        keep_shard({1, 1}, &files_);
        digest_ = digest_of(files_);
        keep_shard(*options_.shard, &files_);
    }

    RunReport::Write open_report() {
        report_file_.emplace(options_.report_file, inputs_);
        return [this](const std::string &line) { report_file_->write(line); };
    }

    RunReport::Write open_shard_report() {
        // From now on the shard is not whole, until it is again.
        std::filesystem::remove(path_below(shard_report_name(shard())));
        shard_report_.emplace(path_below(shard_report_name(shard())));
        shard_report_->write(
            shard_head_line({shard(), options_.shard ? all_files_ : files_.size(), digest_,
                             options_text_, has_tables() ? suffix() : ""}));
        return [this](const std::string &line) { shard_report_->write(line); };
    }

    void make_output() {
        const TextForm form = {*format_, options_.compression,
                               has_folder() ? options_.output_folder : temporary_folder(),
                               has_parts() ? part_spool_memory : stream_spool_memory};
        if (has_parts()) {
            const std::string journal = path_below(journal_name(shard()));
            inputs_.spare(journal);
            journal_.emplace(options_.output_folder, journal, options_text_, options_.resumes);
            output_ = std::make_unique<PartOutput>(options_.output_folder, suffix(), files_,
                                                   inputs_, form, &*journal_);
        } else if (has_folder()) {
            output_ = std::make_unique<TableOutput>(table_places(), inputs_, form);
        } else {
            output_ = std::make_unique<StreamOutput>(form);
        }
    }

    int convert(RunReport *report) {
        std::uint64_t bytes = 0;
        for (const tool::InputFile &file : files_) bytes += file.size;
        Progress progress(files_.size(), bytes);
        std::uint64_t num_stale = 0;
        ExportRun run(
            {.files = files_,
             .format = *format_,
             .schemas = schemas_,
             .output = *output_,
             .compression = format_->sorts_lines() ? Compression::none : options_.compression,
             .threads = options_.threads,
             .take_report =
                 [&](const FileReport &file) {
                     report->add(file);
                     progress.note_file();
                     if (has_tables() && !file.part.empty()) parts_.push_back(file.part);
                     if (file.num_faults > 0 && report->totals().damaged <= max_told)
                         tell_of(file, &progress);
                     if (!file.stale_part.empty() && ++num_stale <= max_told)
                         tell(path_below(file.stale_part) + ": is of an earlier run, and stays",
                              &progress);
                 },
             .note_bytes = [&](std::uint64_t count) { progress.note_bytes(count); }});
        // Before the threads of the run, which inherit its mask.
        const SignalWatch watch([&] { run.stop(); });
        const bool is_whole = run.run();
        progress.clear();
        if (is_whole) finish_output();
        if (report->totals().damaged > max_told)
            tool::print_error("vrn_export",
                              std::to_string(report->totals().damaged) +
                                  " files are damaged; --report tells of all of them");
        // A signal explains whatever else went wrong.
        if (watch.signal() != 0) return signal_status + watch.signal();
        if (!found_all_) return failed_status;
        return report->totals().faults > 0 ? damaged_status : EXIT_SUCCESS;
    }

    void finish_output() {
        output_->finish();
        // Of a shard, when it is merged with the others.
        if (!has_tables() || !has_parts() || options_.shard) return;
        TableJoin tables(table_places(), inputs_);
        for (const std::string &part : parts_) tables.add(part);
        tables.finish();
    }

    static void tell(const std::string &text, Progress *progress) {
        progress->clear();
        tool::print_error("vrn_export", text);
    }

    static void tell_of(const FileReport &file, Progress *progress) {
        std::string text = file.path + ": " + std::to_string(file.num_faults) +
                           (file.num_faults == 1 ? " fault" : " faults");
        if (!file.faults.empty()) {
            const FoundFault &first = file.faults.front();
            text += ", at offset " + std::to_string(first.offset) + ": " + first.kind + ": " +
                    first.reason;
        }
        tell(text, progress);
    }

    const ExportOptions &options_;
    std::string options_text_;  // in one line, with the schemas that the text depends on
    SchemaCaches schemas_;
    std::vector<tool::InputFile> files_;
    tool::InputIds inputs_;
    bool found_all_ = false;
    std::unique_ptr<Format> format_;
    std::uint64_t all_files_ = 0;  // of all shards
    std::string digest_;           // of the inputs; empty without shards
    std::optional<ReportFile> report_file_;
    std::optional<WholeFile> shard_report_;
    std::optional<PartJournal> journal_;
    std::unique_ptr<ExportOutput> output_;
    std::vector<std::string> parts_;  // that are to be joined to tables, in order
};

}  // namespace

int run_export(const ExportOptions &options, const std::vector<std::string> &operands) {
    check_options(options, !operands.empty());
    tool::start_log(options.log_level);
    let_writes_fail();
    allow_many_files();
    if (options.task == Task::merge)
        return merge_shards(options.output_folder, options.report_file);
    if (options.task == Task::list) return ExportJob(options, operands).list();
    return ExportJob(options, operands).run();
}

}  // namespace vrn::exporter
