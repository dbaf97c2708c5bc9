// vrn_chart: shows the numbers of data files as a chart page.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "common/input_files.h"
#include "common/shown_text.h"
#include "common/tool_main.h"
#include "metrics/chart/chart_page.h"
#include "metrics/chart/page_text.h"
#include "series/file_series.h"
#include "series/file_times.h"
#include "series/name_selection.h"
#include "series/series_options.h"
#include "utils/replace_file.h"
#include "vrn_chart/chart_options.h"

namespace vrn::chart {
namespace {

constexpr char program[] = "vrn_chart";
constexpr std::uint64_t max_store_bytes = std::uint64_t{1} << 30;

bool fail(const std::string &what) {
    tool::print_error(program, what);
    return false;
}

// True when `path` leads to where standard output does, under whatever name it was opened.
bool is_standard_output(const std::string &path) {
    struct stat status {};
    struct stat standard_output {};
    return stat(path.c_str(), &status) == 0 && fstat(STDOUT_FILENO, &standard_output) == 0 &&
           tool::FileId(standard_output) == tool::FileId(status);
}

// False with errno; nothing is left in the stream for a second line when the tool ends.
bool write_to_standard_output(std::string_view page) {
    // The page is one piece already; a second copy in the stream would be for nothing.
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    const bool done = std::fwrite(page.data(), 1, page.size(), stdout) == page.size();
    std::clearerr(stdout);
    return done;
}

// Where the page goes.
class Output {
  public:
    explicit Output(const std::string &path)
        : path_(path), is_standard_(path.empty() || is_standard_output(path)) {}

    bool write(std::string_view page) const {
        if (is_standard_ ? write_to_standard_output(page)
                         : replace_file(path_, page) == ReplacedFile::done)
            return true;
        const std::string name = path_.empty() ? "standard output" : path_;
        return fail("can't write to " + name + ": " + std::strerror(errno));
    }

  private:
    std::string path_;
    bool is_standard_;
};

metrics::ChartPageOptions page_options(const ChartOptions &options) {
    metrics::ChartPageOptions page = {.has_host = false,
                                      .max_script_points = metrics::MAX_SCRIPT_POINTS};
    if (options.shown_first.empty()) return page;
    page.shows_first = [names = series::NameSelection(options.shown_first)](
                           const std::string &name) { return names.takes(name); };
    return page;
}

// Tells of patterns that choose nothing, which is a slip.
bool finds_shown(const metrics::MetricsHistory &store, const ChartOptions &options) {
    if (options.shown_first.empty()) return true;
    const series::NameSelection names(options.shown_first);
    for (const metrics::SeriesKey &key : store.series_keys())
        if (names.takes(store.symbols().lookup(key.metric_id))) return true;
    return fail("--show matches none of the names");
}

// Tells of fields that no event on the page has, which is a slip, too.
bool finds_label_fields(const metrics::MetricsHistory &store, const ChartOptions &options) {
    std::set<std::uint64_t> label_names;
    for (const auto &[name, value] : store.all_labels()) label_names.insert(name);
    std::set<std::string> missing(options.series.label_fields.begin(),
                                  options.series.label_fields.end());
    for (const std::uint64_t name : label_names)
        missing.erase(metrics::script_text_value(store.symbols().lookup(name)));
    for (const std::string &field : missing)
        fail("--label-fields: no event on the page has '" + tool::shown_text(field) + "'");
    return missing.empty();
}

// A page is written even if files fail, with what could be read.
bool make_page(const std::vector<tool::InputFile> &files, const ChartOptions &options,
               const Output &output) {
    metrics::MetricsHistory store;
    store.set_default_capacity(options.samples);
    store.set_max_bytes(max_store_bytes);
    series::prepare_store(options.series, &store);
    series::SchemaFolders folders(&options.series);
    bool read_all = true;
    for (const tool::InputFile &file : files)
        read_all &= series::store_file(file.path, options.series, &folders, &store);
    // No page rather than an empty one: it would replace a page that shows something.
    if (store.series_keys().empty()) return fail("there is nothing to show");
    // In memory first, so that a page is written whole or not at all.
    std::ostringstream page;
    metrics::write_chart_page(page, store, page_options(options));
    if (!page) return fail("there is no memory for the page");
    const bool is_written = output.write(page.view());
    const bool shows_all = finds_shown(store, options) && finds_label_fields(store, options);
    return is_written && shows_all && read_all;
}

bool run(const ChartOptions &options, const std::vector<std::string> &operands) {
    if (operands.empty()) throw tool::UsageError("no file or folder is given");
    tool::start_log(options.log_level);
    std::vector<tool::InputFile> files;
    const bool found_all = tool::find_input_files(operands, &files);
    // Looked at before anything is written, so that no input can be replaced by its chart.
    const tool::InputIds inputs(tool::ids_of(files));
    if (options.output.empty())
        tool::refuse_output_into_input(inputs);
    else
        tool::refuse_output_over_input(options.output, inputs);
    series::sort_by_time(&files);
    return make_page(files, options, Output(options.output)) && found_all;
}

}  // namespace
}  // namespace vrn::chart

int main(int argc, char **argv) {
    vrn::chart::ChartOptions options;
    return vrn::tool::run_tool(vrn::chart::make_command_line(&options), argc, argv,
                               [&](const std::vector<std::string> &operands) {
                                   return vrn::chart::run(options, operands);
                               });
}
