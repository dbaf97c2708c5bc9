// The data writer: stores the blocks of data pages in a tree of data files, one stream per source
// and tag, bounds their total size, and keeps the node information files beside them.
//
// A page that can't be stored costs that page only: a line is logged and the writer goes on. What
// was stored is with the kernel when vrn_data_writer_write_page returns. Pages are not trusted:
// no page makes the writer write outside of its folder or read beyond the page.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>

#include "data/data_page.h"
#include "data/writer/data_file.h"
#include "data/writer/data_page_filter.h"
#include "data/writer/data_writer_limit.h"
#include "data/writer/node_info.h"
#include "utils/c_ptr.h"
#include "utils/client_id.h"

// Used from one thread, through the functions below.
struct vrn_data_writer_t {
    vrn_client_id_t client_id{};
    std::map<std::pair<std::string, std::string>, vrn_data_file_t> files;  // by source and tag
    vrn_written_files_t written;
    std::uint64_t data_size_limit = 0;             // bytes; 0: no limit
    std::uint64_t file_size_limit = 134'217'728;   // bytes
    std::uint64_t file_age_limit = 1'800'000'000;  // microseconds
    std::string data_dir;
    std::string counters_path_template;  // of files of counters data blocks
    std::string data_path_template;      // of all other files
    bool keep_files_open = true;
    bool write_nodeinfo = false;
    bool tag_in_path = false;                        // `counters_path_template` holds "/{{tag}}/"
    std::map<std::string, vrn_nodeinfo_t> nodeinfo;  // by folder
    vrn_data_page_filter_t page_filter;
    std::uint64_t lost_pages = 0;    // see vrn_data_writer_get_lost_pages
    std::uint32_t open_streams = 0;  // at most this many files hold an open handle
};

// While false, no writer of the process stores anything.
extern bool vrn_data_writer_enabled;

// All entries but vrn_data_writer_get_first_timestamp swallow exceptions without a line: they
// return false or null then.

// Ends with vrn_data_writer_destroy, which also brings the headers of all files up to date.
[[nodiscard]] vrn_data_writer_t *vrn_data_writer_create(const vrn_client_id_t *client_id);
void vrn_data_writer_destroy(vrn_data_writer_t *writer);  // accepts null
using vrn_data_writer_ptr = vrn::CPtr<vrn_data_writer_t, vrn_data_writer_destroy>;

// A change of folder, templates, file size or file age reaches all streams at once and ends their
// current files. The empty text and 0 leave the streams what they have. False for a null text.
[[nodiscard]] bool vrn_data_writer_set_data_dir(vrn_data_writer_t *writer, const char *dir);
// False, after a line, also for a template that steps out of its folder (data/writer/data_path.h).
// That of counters is the template of all other files too, as long as that has not been set.
[[nodiscard]] bool vrn_data_writer_set_counters_path_template(vrn_data_writer_t *writer,
                                                              const char *text);
[[nodiscard]] bool vrn_data_writer_set_data_path_template(vrn_data_writer_t *writer,
                                                          const char *text);
[[nodiscard]] bool vrn_data_writer_set_file_size_limit(vrn_data_writer_t *writer,
                                                       std::uint64_t bytes);
[[nodiscard]] bool vrn_data_writer_set_file_age_limit(vrn_data_writer_t *writer,
                                                      std::uint64_t microseconds);

// Bound of the data in the files written from now on; the oldest go first. 0: no limit. False,
// after a line, when it does not exceed the present limit of one file.
[[nodiscard]] bool vrn_data_writer_set_data_size_limit(vrn_data_writer_t *writer,
                                                       std::uint64_t bytes);

[[nodiscard]] bool vrn_data_writer_set_keep_files_open(vrn_data_writer_t *writer,
                                                       bool keep_open);  // later files
[[nodiscard]] bool vrn_data_writer_set_write_nodeinfo(vrn_data_writer_t *writer,
                                                      bool write_nodeinfo);

// Comma-separated lists and paths of scope files (data/data_page_filter.h); null means empty.
[[nodiscard]] bool vrn_data_writer_set_page_filter(
    vrn_data_writer_t *writer, const char *allowed_tags, const char *excluded_tags,
    const char *allowed_scopes, const char *excluded_scopes, const char *allowed_scope_file,
    const char *excluded_scope_file);

// Stores the blocks of `page`, in whole units of its block size: what the page holds after its
// data, then zeros, pads the last one. True also when the page was not stored.
[[nodiscard]] bool vrn_data_writer_write_page(vrn_data_writer_t *writer,
                                              const vrn_data_page_t *page, const void *unused);

// Pages so far that should have been stored and were not. Those that are empty or that the filter
// keeps out don't count.
std::uint64_t vrn_data_writer_get_lost_pages(const vrn_data_writer_t *writer);

// First timestamp of the file that the stream of `page` writes to at present, or 0. Reads the page
// in place: of a shared page, pass its snapshot.
std::uint64_t vrn_data_writer_get_first_timestamp(const vrn_data_writer_t *writer,
                                                  const vrn_data_page_t *page);
