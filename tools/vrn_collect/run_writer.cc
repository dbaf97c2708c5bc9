#include "vrn_collect/run_writer.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <new>
#include <stdexcept>

#include "common/tool_main.h"
#include "data/writer/data_path.h"
#include "data/writer/scope_file.h"

namespace vrn::collect {
namespace {

using tool::UsageError;

// The writer goes on without a file that it can't read. Throws std::runtime_error.
void check_scope_file(const std::string &path) {
    const tool::QuietLog quiet;
    vrn_load_scope_file(path);
}

// The library leaves open what two lists of one kind mean together.
void refuse_both(const std::string &allowed, const std::string &excluded, const char *kind) {
    if (!allowed.empty() && !excluded.empty())
        throw UsageError(std::string("--allow-") + kind + " and --exclude-" + kind +
                         " exclude each other");
}

void check_tags(const std::string &list, const char *option,
                const std::vector<StreamPlan> &streams) {
    for (const std::string &item : vrn_split_value_list(list)) {
        const vrn_value_filter_t filter = vrn_value_filter_parse({item}, false);
        // A slip in a tag would store nothing, and nobody would notice before the data is needed.
        const bool is_known = std::ranges::any_of(streams, [&](const StreamPlan &stream) {
            return vrn_value_filter_matches(filter, stream.tag);
        });
        if (!is_known)
            throw UsageError(std::string(option) + ": there is no tag '" + item +
                             "' but counters, events and metrics");
    }
}

void set_filter(vrn_data_writer_t *writer, const WriterOptions &options,
                const std::vector<StreamPlan> &streams) {
    refuse_both(options.allowed_tags, options.excluded_tags, "tags");
    refuse_both(options.allowed_scope + options.allowed_scope_file,
                options.excluded_scope + options.excluded_scope_file, "scope");
    check_tags(options.allowed_tags, "--allow-tags", streams);
    check_tags(options.excluded_tags, "--exclude-tags", streams);
    check_scope_file(options.allowed_scope_file);
    check_scope_file(options.excluded_scope_file);
    if (!vrn_data_writer_set_page_filter(
            writer, options.allowed_tags.c_str(), options.excluded_tags.c_str(),
            options.allowed_scope.c_str(), options.excluded_scope.c_str(),
            options.allowed_scope_file.c_str(), options.excluded_scope_file.c_str()))
        throw std::bad_alloc();
}

// The streams that pass the filter.
std::vector<StreamPlan> kept_streams(const vrn_data_writer_t *writer,
                                     const std::vector<StreamPlan> &streams) {
    std::vector<StreamPlan> kept;
    std::ranges::copy_if(streams, std::back_inserter(kept), [&](const StreamPlan &stream) {
        vrn_data_page_t page{};
        std::strncpy(page.source.source, stream.source.c_str(), sizeof page.source.source - 1);
        std::strncpy(page.source.tag, stream.tag.c_str(), sizeof page.source.tag - 1);
        return vrn_data_page_filter_accepts_page(writer->page_filter, page);
    });
    if (kept.empty()) throw UsageError("the filters let no data pass");
    return kept;
}

// Path of the stream's files below the data folder, as if one began at any one time.
std::string sample_path(const vrn_data_writer_t *writer, const StreamPlan &stream) {
    vrn_data_file_t file;
    vrn_data_file_init(&file, &writer->client_id, stream.source, stream.tag,
                       stream.is_not_counters);
    file.root_dir.clear();  // the path below it is what is looked for
    file.path_template =
        stream.is_not_counters ? writer->data_path_template : writer->counters_path_template;
    file.tag_in_path = writer->tag_in_path;
    // Any time but 0, for which the variables of dates are not replaced.
    file.first_ts = 1;
    file.id = "1";
    return vrn_data_file_expand_path(&file);
}

// What stands in braces after the expansion has no meaning.
void check_template(const vrn_data_writer_t *writer, std::uint32_t is_not_counters) {
    const tool::QuietLog quiet;
    const std::string option = is_not_counters ? "--data-template" : "--counters-template";
    const std::string path = sample_path(writer, {"source", "tag", 0, is_not_counters});
    if (const std::size_t open = path.find("{{"); open != std::string::npos) {
        const std::string rest = path.substr(open);
        const std::size_t close = std::min(rest.find("}}"), rest.size() - 2);
        throw UsageError(option + ": '" + rest.substr(0, close + 2) + "' has no meaning");
    }
    if (path.empty() || path.back() == '/') throw UsageError(option + " names no file");
}

// A file has one set of schemas and one size of chunks, so tags can't share it.
void refuse_shared_paths(const vrn_data_writer_t *writer, const std::vector<StreamPlan> &streams) {
    std::map<std::string, std::string> tags;
    for (const StreamPlan &stream : streams) {
        const auto [place, is_new] = tags.try_emplace(sample_path(writer, stream), stream.tag);
        if (!is_new && place->second != stream.tag)
            throw UsageError(place->second + " and " + stream.tag +
                             " would share their files; {{tag}} in the template keeps them apart");
    }
}

void set_templates(vrn_data_writer_t *writer, const WriterOptions &options,
                   const std::vector<StreamPlan> &streams) {
    // The names stand sorted, so equal ends mean one name only.
    const bool has_one_source = streams.front().source == streams.back().source;
    const char *path = has_one_source ? "{{tag}}{{id}}.bin" : "{{source}}/{{tag}}{{id}}.bin";
    // Sources get folders of their own only where there are several.
    const auto path_or = [&](const std::string &text) { return text.empty() ? path : text; };
    if (!vrn_data_writer_set_counters_path_template(writer,
                                                    path_or(options.counters_template).c_str()) ||
        !vrn_data_writer_set_data_path_template(writer, path_or(options.data_template).c_str()))
        throw UsageError("the templates are refused");
    for (const std::uint32_t is_not_counters : {0U, 1U}) check_template(writer, is_not_counters);
}

// The writer removes the oldest files until one more has room, and books all bytes since a file
// began to that one. So the newest files of all streams can stand in its book as one; each may
// exceed the limit of a file by a page.
void set_sizes(vrn_data_writer_t *writer, const WriterOptions &options,
               const std::vector<StreamPlan> &streams) {
    // One more than there are streams: the writer keeps room for the next file of any of them.
    const std::uint64_t files = streams.size() + 1;
    std::uint64_t pages = 0;
    for (const StreamPlan &stream : streams) pages += stream.chunk_size;
    std::uint64_t file_size = options.file_size.value_or(writer->file_size_limit);
    if (options.data_size) {
        const std::uint64_t room = *options.data_size > pages ? *options.data_size - pages : 0;
        const std::uint64_t max_file_size = room / files;
        if (!options.file_size) file_size = std::min(file_size, max_file_size);
        if (file_size == 0 || file_size > max_file_size)
            throw UsageError("--data-size must be at least " +
                             std::to_string(pages + files * std::max<std::uint64_t>(1, file_size)) +
                             ", else the newest files would go too");
    }
    // The limit of all data is compared with that of one file, which therefore comes first.
    if (!vrn_data_writer_set_file_size_limit(writer, file_size) ||
        !vrn_data_writer_set_data_size_limit(writer, options.data_size.value_or(0)))
        throw UsageError("the limits are refused");
}

void set_age(vrn_data_writer_t *writer, std::chrono::microseconds age) {
    if (!vrn_data_writer_set_file_age_limit(writer, static_cast<std::uint64_t>(age.count())))
        throw UsageError("the limits are refused");
}

}  // namespace

vrn_data_writer_ptr make_run_writer(const CollectOptions &options,
                                    const std::vector<StreamPlan> &streams) {
    const WriterOptions &settings = options.writer;
    const vrn_client_id_ptr client_id(vrn_client_id_create());
    if (!client_id) throw std::runtime_error("this host has no name");
    vrn_data_writer_ptr writer(vrn_data_writer_create(client_id.get()));
    if (!writer ||
        !vrn_data_writer_set_data_dir(writer.get(), (options.output_dir + "/data").c_str()))
        throw std::bad_alloc();
    // Before the first page, which makes the first file with what is set by then.
    if (!vrn_data_writer_set_keep_files_open(writer.get(), settings.keep_files_open) ||
        !vrn_data_writer_set_write_nodeinfo(writer.get(), settings.write_nodeinfo))
        throw std::bad_alloc();
    set_filter(writer.get(), settings, streams);
    const std::vector<StreamPlan> kept = kept_streams(writer.get(), streams);
    set_templates(writer.get(), settings, streams);
    refuse_shared_paths(writer.get(), kept);
    set_sizes(writer.get(), settings, kept);
    if (settings.file_age) set_age(writer.get(), *settings.file_age);
    return writer;
}

}  // namespace vrn::collect
