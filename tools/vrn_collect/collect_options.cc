#include "vrn_collect/collect_options.h"

#include <limits>
#include <string_view>

namespace vrn::collect {
namespace {

using tool::Option;

using Take = std::function<void(const char *value)>;

constexpr std::string_view gzip = "gzip";

constexpr char about[] =
    "Samples /proc of this machine; writes DIR/data/**/*.bin and DIR/schema/*.json.\n"
    "SIGINT (Ctrl-C), SIGTERM and SIGHUP end the run with all samples stored; a\n"
    "second one of a kind ends it at once.\n";

constexpr char notes[] =
    "\n"
    "SOURCES are one name, or several sources that each get all data, in a folder of\n"
    "their own unless templates tell otherwise:\n"
    "  N, A-B         this host's name with _1 to _N, or with _A to _B\n"
    "  PREFIX[A-B]    PREFIX_A to PREFIX_B\n"
    "  FILE           a file or pipe with one name a line, or of fabscan\n"
    "A text with a '.' or a '/' is always a file; --source-name takes any name.\n"
    "\n"
    "PATH is made of {{year}} {{month}} {{day}} {{hour}} {{minute}} {{second}}\n"
    "{{source}} {{tag}} {{id}} {{node}} {{port}} {{timestamp}} and {{hashN}}, which\n"
    "is a number below N made of the source.\n"
    "\n"
    "LIST is made of names, PREFIX* and *SUFFIX, with commas between them.\n"
    "\n"
    "Environment: VRN_HOST_NAME stands for this host's name, VRN_SOURCE_ID for the\n"
    "name of its source.\n"
    "\n"
    "Exit status: 0 when all samples were stored, 1 when something could not be, 64\n"
    "for wrong usage.\n";

Take text_into(std::string *text) {
    return [=](const char *value) { *text = value; };
}

Take bytes_into(std::optional<std::uint64_t> *bytes) {
    constexpr std::uint64_t max = std::uint64_t{1} << 45;  // that of all sources fits 64 bits
    return [=](const char *value) { *bytes = tool::number_value(value, 1, max); };
}

template <typename Milliseconds>
Take milliseconds_into(Milliseconds *time, std::uint64_t min) {
    // 49 days; in microseconds it still fits every sum with a time.
    constexpr std::uint64_t max = std::numeric_limits<std::uint32_t>::max();
    return [=](const char *value) {
        *time = std::chrono::milliseconds(tool::number_value(value, min, max));
    };
}

std::vector<Option> run_rows(CollectOptions *options) {
    return {
        {"output-dir", 'o', "DIR", "Folder to write to, made when missing (telemetry).",
         text_into(&options->output_dir)},
        {"interval", 'i', "MS", "Milliseconds between samples (100).",
         milliseconds_into(&options->interval, 1)},
        {"duration", 't', "MS", "Milliseconds in all; 0: until a signal comes (2000).",
         milliseconds_into(&options->duration, 0)},
        {"source", 's', "SOURCES", "Names of the sources, see below (this host's name).",
         text_into(&options->sources)},
        {"source-name", 0, "NAME", "Name of the only source, taken as it is.",
         text_into(&options->source_name)},
        {"encoding",
         'e',
         "NAME",
         "Compress events in pages: gzip or snappy.",
         [=](const char *value) {
             options->encoding = value == gzip ? VRN_ENCODING_GZIP : VRN_ENCODING_SNAPPY;
         },
         {std::string(gzip), "snappy"}},
    };
}

std::vector<Option> file_rows(WriterOptions *options) {
    return {
        {"counters-template", 'c', "PATH",
         "Path of counters files below the data folder, see below ({{tag}}{{id}}.bin).",
         text_into(&options->counters_template)},
        {"data-template", 'd', "PATH", "The same of event and metrics files.",
         text_into(&options->data_template)},
        {"file-size", 'S', "BYTES", "Begin a new file at this size.",
         bytes_into(&options->file_size)},
        {"file-age", 'A', "MS", "Begin a new file when data would span this time.",
         milliseconds_into(&options->file_age, 1)},
        {"data-size", 'D', "BYTES",
         "Remove the oldest files of this run above this size. Without --file-size, files are so "
         "small that the newest ones stay.",
         bytes_into(&options->data_size)},
        {"node-info", 'n', nullptr, "Write node information files beside the data.",
         [=](const char *) { options->write_nodeinfo = true; }},
        {"close-files", 'C', nullptr, "Keep no data file open between pages.",
         [=](const char *) { options->keep_files_open = false; }},
    };
}

std::vector<Option> filter_rows(WriterOptions *options) {
    return {
        {"allow-tags", 0, "LIST", "Store these tags only, of counters, events and metrics.",
         text_into(&options->allowed_tags)},
        {"exclude-tags", 0, "LIST", "Store none of these tags.",
         text_into(&options->excluded_tags)},
        {"allow-scope", 0, "LIST", "Store these sources only.", text_into(&options->allowed_scope)},
        {"exclude-scope", 0, "LIST", "Store none of these sources.",
         text_into(&options->excluded_scope)},
        {"allow-scope-file", 0, "FILE", "Store the sources of this file only, one a line.",
         text_into(&options->allowed_scope_file)},
        {"exclude-scope-file", 0, "FILE", "Store none of the sources of this file.",
         text_into(&options->excluded_scope_file)},
    };
}

}  // namespace

tool::CommandLine make_command_line(CollectOptions *options) {
    tool::CommandLine line = {"vrn_collect", nullptr, about, {}, notes};
    for (auto &&rows :
         {run_rows(options), file_rows(&options->writer), filter_rows(&options->writer)})
        line.options.insert(line.options.end(), rows.begin(), rows.end());
    return line;
}

}  // namespace vrn::collect
