#include "vrn_check/check_run.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <exception>
#include <mutex>
#include <optional>
#include <thread>

#include "scan/page_buffer.h"
#include "vrn_check/file_salvage.h"
#include "vrn_check/ordered_output.h"
#include "vrn_check/schema_texts.h"

namespace vrn::check {
namespace {

// Files that may be done before the one whose turn it is, for each thread, and the text that each
// of them may hold meanwhile.
constexpr std::size_t files_ahead = 64;
constexpr std::size_t max_waiting_text = 65536;

class CheckRun {
  public:
    CheckRun(const std::vector<tool::InputFile> &files, const CheckOptions &options)
        : files_(files),
          options_(options),
          schemas_(options.schema_path),
          output_(files_ahead * options.threads) {
        if (options.salvage_dir.empty()) return;
        names_ = output_names(files);
        salvage_.emplace(options.salvage_dir);
    }

    Totals run() {
        // The block joins the threads: error and totals are final after it.
        {
            std::vector<std::jthread> threads;
            for (unsigned i = 1; i < options_.threads; ++i)
                threads.emplace_back([this] { work(); });
            work();
        }
        if (error_) std::rethrow_exception(error_);
        return totals_;
    }

  private:
    void work() {
        // One for each thread, used for file after file.
        scan::PageBuffer page;
        // What leaves a thread would end the process; run() throws it on.
        try {
            for (std::size_t i = next_++; i < files_.size() && output_.begin(i); i = next_++)
                check(i, &page);
        } catch (...) {
            fail(std::current_exception());
        }
    }

    void check(std::size_t index, scan::PageBuffer *page) {
        std::string text;
        const Totals totals =
            run_file(index, page, [&](const std::string &path, const FileFault &fault) {
                text += fault_line(options_.form, path, fault);
                if (text.size() < max_waiting_text) return;
                output_.append(index, text);
                text.clear();
            });
        output_.end(index, std::move(text));
        const std::lock_guard lock(mutex_);
        totals_ += totals;
    }

    Totals run_file(std::size_t index, scan::PageBuffer *page, const FileSalvage::Take &take) {
        const std::string &path = files_[index].path;
        SchemaTexts *schemas = schemas_.of_file(path);
        if (salvage_)
            return FileSalvage(path, &*salvage_, names_[index], schemas, page, take).run();
        const auto take_own = [&](const FileFault &fault) { take(path, fault); };
        return FileCheck(path, schemas, page, take_own).run();
    }

    void fail(const std::exception_ptr &error) {
        // First, so that nobody waits for a turn that won't come.
        output_.abandon();
        const std::lock_guard lock(mutex_);
        error_ = error;
    }

    const std::vector<tool::InputFile> &files_;
    const CheckOptions &options_;
    SchemaFolders schemas_;
    OrderedOutput output_;
    std::vector<std::string> names_;  // of the files to be written, by input
    std::optional<OutputFolder> salvage_;
    std::atomic<std::size_t> next_ = 0;
    std::mutex mutex_;
    Totals totals_;
    std::exception_ptr error_;
};

}  // namespace

Totals check_files(const std::vector<tool::InputFile> &files, const CheckOptions &options) {
    const Totals totals = CheckRun(files, options).run();
    std::fputs(totals_line(options.form, totals).c_str(), stdout);
    if (!options.salvage_dir.empty())
        std::fputs(salvage_line(options.form, options.salvage_dir, totals).c_str(), stdout);
    return totals;
}

}  // namespace vrn::check
