#include "vrn_check/check_run.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <exception>
#include <mutex>
#include <thread>

#include "scan/page_buffer.h"
#include "vrn_check/file_check.h"
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
          output_(files_ahead * options.threads) {}

    Totals run() {
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
        scan::PageBuffer page;
        try {
            for (std::size_t i = next_++; i < files_.size() && output_.begin(i); i = next_++)
                check(i, &page);
        } catch (...) {
            fail(std::current_exception());
        }
    }

    void check(std::size_t index, scan::PageBuffer *page) {
        const std::string &path = files_[index].path;
        std::string text;
        FileCheck file(path, schemas_.of_file(path), page, [&](const FileFault &fault) {
            text += fault_line(options_.form, path, fault);
            if (text.size() < max_waiting_text) return;
            output_.append(index, text);
            text.clear();
        });
        const Totals totals = file.run();
        output_.end(index, std::move(text));
        const std::lock_guard lock(mutex_);
        totals_ += totals;
    }

    void fail(const std::exception_ptr &error) {
        output_.abandon();
        const std::lock_guard lock(mutex_);
        error_ = error;
    }

    const std::vector<tool::InputFile> &files_;
    const CheckOptions &options_;
    SchemaFolders schemas_;
    OrderedOutput output_;
    std::atomic<std::size_t> next_ = 0;
    std::mutex mutex_;
    Totals totals_;
    std::exception_ptr error_;
};

}  // namespace

Totals check_files(const std::vector<tool::InputFile> &files, const CheckOptions &options) {
    const Totals totals = CheckRun(files, options).run();
    std::fputs(totals_line(options.form, totals).c_str(), stdout);
    return totals;
}

}  // namespace vrn::check
