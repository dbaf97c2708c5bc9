#include "vrn_export/export_options.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "common/json_string.h"
#include "common/shown_text.h"
#include "vrn_export/format/hex_digest.h"
#include "vrn_export/time_value.h"

namespace vrn::exporter {
namespace {

constexpr unsigned max_threads = 1024;

constexpr std::array<std::pair<std::string_view, FormatKind>, 4> formats = {
    {{"ndjson", FormatKind::ndjson},
     {"csv", FormatKind::csv},
     {"lines", FormatKind::lines},
     {"openmetrics", FormatKind::openmetrics}}};

constexpr std::array<std::pair<std::string_view, Compression>, 2> compressions = {
    {{"gz", Compression::gzip}, {"zst", Compression::zstd}}};

// An option that takes one of the names.
template <typename Kind, std::size_t Count>
tool::Option choice_option(tool::Option row,
                           const std::array<std::pair<std::string_view, Kind>, Count> &choices,
                           Kind *kind) {
    for (const auto &choice : choices) row.words.emplace_back(choice.first);
    row.take = [&choices, kind](const char *value) {
        const auto first = [](const auto &choice) { return choice.first; };
        *kind = std::ranges::find(choices, value, first)->second;
    };
    return row;
}

// Appends the parts between commas.
void add_list(const char *text, std::vector<std::string> *list) {
    for (std::string_view rest = text; !rest.empty();) {
        const std::string_view item = rest.substr(0, rest.find(','));
        rest.remove_prefix(std::min(item.size() + 1, rest.size()));
        if (!item.empty()) list->emplace_back(item);
    }
    if (list->empty()) throw tool::BadValue("a list of names");
}

tool::Option list_option(const char *name, const char *argument, const char *help,
                         std::vector<std::string> *list) {
    return {name, 0, argument, help, [list](const char *value) { add_list(value, list); }};
}

std::vector<tool::Option> selection_options(SelectionOptions *selection) {
    return {
        {"since", 0, "TIME", "Leave out what is before: ISO 8601 (UTC), or microseconds.",
         [=](const char *value) { selection->since = time_value(value); }},
        {"until", 0, "TIME", "Leave out what is at or after this time.",
         [=](const char *value) { selection->until = time_value(value); }},
        list_option("type", "NAMES", "Event types. Names may have wildcards.", &selection->types),
        list_option("field", "NAMES", "Fields of events, dotted when nested.", &selection->fields),
        list_option("counter", "NAMES", "Counters: NAME or GROUP.NAME.", &selection->counters),
        list_option("metric", "NAMES", "Metrics.", &selection->metrics),
        list_option("source", "NAMES", "Sources.", &selection->sources),
        list_option("tag", "NAMES", "Tags.", &selection->tags),
        {"fset-file", 'F', "FILE", "Field set, as vrn_read has it.",
         [=](const char *value) { selection->field_set_file = value; }},
        {"cset-file", 'C', "FILE", "Counter set, as vrn_read has it.",
         [=](const char *value) { selection->counter_set_file = value; }},
    };
}

std::vector<tool::Option> output_options(ExportOptions *options) {
    return {
        choice_option(
            {"format", 'f', "FORMAT", "ndjson (the default), csv, lines or openmetrics.", {}},
            formats, &options->format.kind),
        {"output", 'o', "DIR",
         "Write a file for each input below DIR (csv: one for each table), whole or not at all. "
         "Without it, one stream goes to standard output.",
         [=](const char *value) { options->output_folder = value; }},
        choice_option({"compress", 0, "KIND", "Compress the output: gz or zst.", {}}, compressions,
                      &options->compression),
        {"resume", 0, nullptr,
         "Keep the parts in DIR that are complete, newer than their inputs and made by the same "
         "options.",
         [=](const char *) { options->resumes = true; }},
        {"report", 0, "FILE",
         "Write a JSON line for each input, and one for the run (--list: for each source).",
         [=](const char *value) { options->report_file = value; }},
        list_option("tag-fields", "NAMES", "Fields that are tags (lines) or labels (openmetrics).",
                    &options->format.tag_fields),
        {"iso-times", 0, nullptr, "Times as ISO 8601 texts in UTC, not as microseconds.",
         [=](const char *) { options->format.iso_times = true; }},
    };
}

void choose_task(Task task, ExportOptions *options) {
    if (options->task != Task::convert && options->task != task)
        throw tool::UsageError("--list and --merge don't go together");
    options->task = task;
}

std::vector<tool::Option> run_options(ExportOptions *options) {
    return {
        {"threads", 'j', "NUMBER", "Threads (the number of processors).",
         [=](const char *value) {
             options->threads = static_cast<unsigned>(tool::number_value(value, 1, max_threads));
         }},
        {"shard", 0, "K/N",
         "Export the K-th of N shares of the inputs, which are the same on every machine.",
         [=](const char *value) { options->shard = shard_value(value); }},
        {"merge", 0, nullptr,
         "Check that the shards in DIR are all there, and put their reports together. Prints the "
         "names of the parts, in order.",
         [=](const char *) { choose_task(Task::merge, options); }},
        {"list", 0, nullptr, "Tell what the inputs hold, and export nothing.",
         [=](const char *) { choose_task(Task::list, options); }},
        {"schema-path", 's', "DIR",
         "Folder of the schema files (./schema, or else the nearest folder 'schema' above a file).",
         [=](const char *value) { options->schema_path = value; }},
        {"verbose", 'v', nullptr, "Tell of files that are passed over, too.",
         [=](const char *) { options->log_level = VRN_LOG_INFO; }},
    };
}

std::string json_list(const std::vector<std::string> &names) {
    std::string text = "[";
    for (const std::string &name : names)
        text += (text.size() > 1 ? "," : "") + tool::json_string(name);
    return text + "]";
}

// As JSON, by what it holds, whatever its name is.
std::string set_text(const std::string &path) {
    std::error_code error;
    const bool is_file = std::filesystem::is_regular_file(path, error);
    return tool::json_string(is_file ? hex_digest_of_file(path) : path);
}

// A pipe can be read only once, by whoever selects by it.
void refuse_piped_set(const std::string &path) {
    std::error_code error;
    if (std::filesystem::is_fifo(path, error))
        throw tool::UsageError("--resume can't tell whether the set in " + tool::shown_text(path) +
                               " is that of the earlier run, as it is a pipe");
}

}  // namespace

tool::CommandLine make_command_line(ExportOptions *options) {
    // The system tells 0 where it doesn't know.
    options->threads = std::clamp(std::thread::hardware_concurrency(), 1U, max_threads);
    std::vector<tool::Option> rows = output_options(options);
    std::ranges::move(selection_options(&options->format.selection), std::back_inserter(rows));
    std::ranges::move(run_options(options), std::back_inserter(rows));
    return {
        "vrn_export", "file|folder ...",
        "Exports the records of data files, on all cores; the bytes are those of one. Of a\n"
        "folder it takes all data files below. Names are lists with commas, and the options\n"
        "may be given more than once.\n",
        std::move(rows),
        "Memory is bounded by (threads + 4) x (chunk + its text), where chunks of less than\n"
        "128 KB are read together up to this size, and by about 200 bytes for each file.\n"
        "openmetrics takes 64 MB more to sort a stream, or 8 MB for each part under way.\n"
        "The exit status is 0 when all is well, 1 when some input is damaged and what could\n"
        "be read is out, 2 when the run failed, 64 for wrong usage, and 128 + N after signal N.\n"};
}

void check_options(const ExportOptions &options, bool has_operands) {
    const bool has_folder = !options.output_folder.empty();
    if (options.task == Task::merge) {
        if (has_operands) throw tool::UsageError("--merge takes no inputs");
        if (!has_folder) throw tool::UsageError("--merge needs the --output of the shards");
        return;
    }
    if (!has_operands) throw tool::UsageError("no file or folder is given");
    if (options.resumes && !has_folder) throw tool::UsageError("--resume needs --output");
    if (options.task == Task::list && has_folder)
        throw tool::UsageError("--list exports nothing, so it takes no --output");
    const SelectionOptions &selection = options.format.selection;
    if (options.resumes) {
        refuse_piped_set(selection.field_set_file);
        refuse_piped_set(selection.counter_set_file);
    }
    if (selection.since >= selection.until)
        throw tool::UsageError("--until is not after --since: nothing is between them");
}

// Compared as text with the line of an earlier run: another word here has all parts made anew.
std::string options_line(const ExportOptions &options) {
    const FormatOptions &format = options.format;
    const SelectionOptions &selection = format.selection;
    const auto *const row =
        std::ranges::find(formats, format.kind, [](const auto &it) { return it.second; });
    return "{\"format\":" + tool::json_string(row->first) + ",\"compress\":\"" +
           suffix_of(options.compression) +
           "\",\"iso_times\":" + (format.iso_times ? "true" : "false") +
           ",\"tag_fields\":" + json_list(format.tag_fields) +
           ",\"since\":" + std::to_string(selection.since) +
           ",\"until\":" + std::to_string(selection.until) +
           ",\"type\":" + json_list(selection.types) + ",\"field\":" + json_list(selection.fields) +
           ",\"counter\":" + json_list(selection.counters) +
           ",\"metric\":" + json_list(selection.metrics) +
           ",\"source\":" + json_list(selection.sources) + ",\"tag\":" + json_list(selection.tags) +
           ",\"fset\":" + set_text(selection.field_set_file) +
           ",\"cset\":" + set_text(selection.counter_set_file) + "}";
}

}  // namespace vrn::exporter
