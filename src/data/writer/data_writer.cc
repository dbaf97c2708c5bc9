#include "data/writer/data_writer.h"

#include <algorithm>
#include <boost/filesystem.hpp>
#include <cstdio>
#include <cstring>
#include <memory>
#include <utility>

#include "data/block.h"
#include "data/page_snapshot.h"
#include "data/shared_page.h"
#include "data/writer/data_file_io.h"
#include "data/writer/data_path.h"
#include "utils/catch_all.h"
#include "utils/hexdump.h"
#include "utils/log.h"
#include "utils/rollback.h"

// For hosts that want to stop all writing at once; nothing here ever changes it.
bool vrn_data_writer_enabled = true;

namespace {

constexpr std::uint32_t max_block_size = 125'829'119;  // of a data file

using Key = std::pair<std::string, std::string>;

void apply_settings(const vrn_data_writer_t *writer, vrn_data_file_t *file) {
    vrn_data_file_set_path_template(file, file->is_not_counters != 0
                                              ? writer->data_path_template
                                              : writer->counters_path_template);
    vrn_data_file_set_max_age(file, writer->file_age_limit);
    vrn_data_file_set_max_size(file, writer->file_size_limit);
    vrn_data_file_set_root_dir(file, writer->data_dir);
    vrn_data_file_set_keep_open(file, writer->keep_files_open);
    vrn_data_file_set_tag_in_path(file, writer->tag_in_path);
}

template <typename Value>
void change_setting(vrn_data_writer_t *writer, Value *setting, Value value) {
    if (*setting == value) return;
    std::swap(*setting, value);
    // A change that failed is none, so that it can be asked for again.
    vrn::Rollback changed([&] { std::swap(*setting, value); });
    for (auto &[key, file] : writer->files) apply_settings(writer, &file);
    changed.keep();
}

bool change_number(vrn_data_writer_t *writer, std::uint64_t *setting, std::uint64_t value) {
    return vrn::catch_all([&] { change_setting(writer, setting, value); });
}

bool change_text(vrn_data_writer_t *writer, std::string *setting, const char *text) {
    if (!text) return false;
    return vrn::catch_all([&] { change_setting(writer, setting, std::string(text)); });
}

// False, after a line, for a template that would lose each page it is used for.
bool check_template(const char *text) {
    bool is_fit = false;
    if (!text || !vrn::catch_all([&] { is_fit = vrn_path_template_is_confined(text); }))
        return false;
    if (!is_fit)
        VRN_LOG(VRN_LOG_ERROR, "[data_writer] Path template %s steps out of its folder", text);
    return is_fit;
}

std::string text_or_empty(const char *text) {
    return text ? text : "";
}

bool is_version_known(std::uint32_t version) {
    constexpr std::uint32_t major = 1;
    // Other headers than this one may belong to older pages and to a newer major.
    constexpr std::uint32_t min_minor = 7;
    return (version & 0xFF) == major && (version >> 8 & 0xFF) >= min_minor;
}

vrn::Bytes data_area(const vrn_data_page_t *page) {
    return {reinterpret_cast<const std::uint8_t *>(page) + VRN_DATA_PAGE_HEADER_SIZE,
            page->page_size - VRN_DATA_PAGE_HEADER_SIZE};
}

std::uint32_t block_size_of(const vrn_data_page_t *page) {
    if (page->block_size != 0) return page->block_size;
    return static_cast<std::uint32_t>(page->page_size - VRN_DATA_PAGE_HEADER_SIZE);
}

// False, after a line, for sizes that a page made here does not have.
// A block may be larger than the page: zeros fill it up, as many as readers take.
bool check_sizes(const vrn_data_page_t *page) {
    if (page->filled_bytes < VRN_DATA_PAGE_HEADER_SIZE || page->filled_bytes > page->page_size) {
        VRN_LOG(VRN_LOG_ERROR, "[data_writer] Data page of %lu bytes has %lu filled. Skipping.",
                page->page_size, page->filled_bytes);
        return false;
    }
    const std::uint32_t block_size = block_size_of(page);
    const std::uint64_t limit = std::max<std::uint64_t>(data_area(page).size(), max_block_size);
    if (block_size == 0 || block_size > limit) {
        VRN_LOG(VRN_LOG_ERROR,
                "[data_writer] Data page of %lu bytes has a block size of %u. Skipping.",
                page->page_size, block_size);
        return false;
    }
    return true;
}

// A source that fills its field runs on into the tag; the tag ends with its field.
Key key_of(const vrn_data_page_t *page) {
    const auto *names = reinterpret_cast<const char *>(&page->source);
    return {std::string(names, strnlen(names, sizeof page->source)),
            std::string(vrn::field_text(page->source.tag))};
}

vrn_block_type_t first_block_type(const vrn_data_page_t *page) {
    std::uint8_t magic[sizeof(vrn_block_header_t)] = {};
    const vrn::Bytes area = data_area(page);
    std::memcpy(magic, area.data(), std::min(sizeof magic, area.size()));
    return vrn_block_type_of(magic);
}

vrn_data_file_t *file_of(vrn_data_writer_t *writer, const vrn_data_page_t *page,
                         vrn_block_type_t kind) {
    const auto [place, is_new] = writer->files.try_emplace(key_of(page));
    vrn_data_file_t *file = &place->second;
    if (!is_new) return file;
    vrn::Rollback added([writer, place = place] { writer->files.erase(place); });
    const auto &[source, tag] = place->first;
    // The first page of a key decides on its template for as long as the writer lives.
    vrn_data_file_init(file, &writer->client_id, source, tag, kind == VRN_COUNTERS_BLOCK ? 0 : 1);
    apply_settings(writer, file);
    added.keep();
    return file;
}

void refuse_unknown(const vrn_data_page_t *page, vrn_block_type_t kind) {
    VRN_LOG(VRN_LOG_WARNING, "[data_writer] Unrecognized type of data page. Cannot save to file.");
    VRN_LOG(VRN_LOG_WARNING, "[data_writer] type: %d ", static_cast<int>(kind));
    std::uint8_t head[1024] = {};
    // Pages may be shorter than the dump, which is of one size for all.
    std::memcpy(head, page, std::min<std::uint64_t>(sizeof head, page->page_size));
    vrn_hexdump(head, sizeof head, stdout);
}

// Tells the stream the schemas that the first block names. False, after lines, for a kind that is
// not stored.
bool note_schemas(vrn_data_file_t *file, const vrn_data_page_t *page, vrn_block_type_t kind) {
    switch (kind) {
        case VRN_SCHEMAS_BLOCK:
            vrn_data_file_set_event_schema_ids(file, data_area(page));
            return true;
        case VRN_COUNTERS_BLOCK:
            vrn_data_file_set_counters_schema_id(file, &page->schema_id);
            return true;
        case VRN_EVENTS_BLOCK:
            VRN_LOG(VRN_LOG_WARNING,
                    "[data_writer] First data block is VRNE. No schema ids could be extracted.");
            return true;
        case VRN_PAGE_BLOCK:
            VRN_LOG(VRN_LOG_DEBUG, "[data_writer] First data block is VRNP.");
            return true;
        case VRN_CNTX_BLOCK:
            VRN_LOG(VRN_LOG_DEBUG, "[data_writer] First data block is CNTX.");
            return true;
        default:
            refuse_unknown(page, kind);
            return false;
    }
}

// Bytes of the whole blocks that hold the page's data, counted in 32 bits.
std::uint64_t size_in_blocks(const vrn_data_page_t *page, std::uint32_t block_size) {
    const std::uint64_t last_byte = page->filled_bytes - VRN_DATA_PAGE_HEADER_SIZE - 1;
    // The sum may wrap round in 32 bits, deliberately.
    const std::uint32_t reach = static_cast<std::uint32_t>(last_byte) + block_size;
    return static_cast<std::uint64_t>(reach / block_size) * block_size;
}

// Writes whole blocks; zeros stand in for what the page does not reach.
std::uint64_t write_blocks(vrn_data_file_t *file, const vrn_data_page_t *page, bool *rotated) {
    const vrn::Bytes area = data_area(page);
    const std::uint64_t size = size_in_blocks(page, block_size_of(page));
    const vrn::Bytes data = area.first(std::min<std::uint64_t>(size, area.size()));
    return vrn_data_file_write_padded(file, vrn_data_page_get_first_ts(page), page->last_ts, data,
                                      size - data.size(), rotated);
}

// A process has far fewer handles than a stream of pages may name sources. A file without its
// handle opens it again by its next page.
void bound_open_streams(vrn_data_writer_t *writer, bool was_open, const vrn_data_file_t *file) {
    constexpr std::uint32_t max_open_streams = 256;
    if (was_open || !file->stream.is_open() || ++writer->open_streams < max_open_streams) return;
    for (auto &[key, other] : writer->files) vrn_data_file_close_stream(&other);
    writer->open_streams = 0;
}

void update_nodeinfo(vrn_data_writer_t *writer, const vrn_data_file_t *file,
                     const vrn_data_page_t *page) {
    const std::string dir = boost::filesystem::path(file->path).parent_path().string();
    vrn_nodeinfo_update(&writer->nodeinfo[dir], dir.c_str(), page);
}

void note_written(vrn_data_writer_t *writer, const vrn_data_file_t *file, bool rotated, bool was_ok,
                  std::uint64_t bytes) {
    if (rotated && !file->path.empty())
        vrn_written_files_add(&writer->written, file->path);
    else if (rotated && was_ok)  // told once per stretch of failures
        VRN_LOG(VRN_LOG_ERROR, "[data_writer] Failed to get file path after rotation");
    // Booked to the newest file, whichever received them: exact in sum, rough for one file.
    if (vrn_written_files_count(&writer->written, bytes))
        vrn_written_files_enforce_limit(&writer->written, writer->data_size_limit,
                                        writer->file_size_limit);
}

bool store_blocks(vrn_data_writer_t *writer, vrn_data_file_t *file, const vrn_data_page_t *page) {
    vrn_data_file_set_block_size(file, block_size_of(page));
    const bool was_ok = file->last_write_ok;
    const bool was_open = file->stream.is_open();
    bool rotated = false;
    const std::uint64_t bytes = write_blocks(file, page, &rotated);
    bound_open_streams(writer, was_open, file);
    if (writer->data_size_limit != 0) note_written(writer, file, rotated, was_ok, bytes);
    if (writer->write_nodeinfo && !file->path.empty()) update_nodeinfo(writer, file, page);
    return bytes != 0;
}

// `page` is private memory. False for a page that is lost.
bool store_page(vrn_data_writer_t *writer, const vrn_data_page_t *page) {
    if (!is_version_known(page->version)) {
        VRN_LOG(VRN_LOG_WARNING, "[data_writer] Received incompatible data page. Skipping.");
        return false;
    }
    if (page->filled_bytes == VRN_DATA_PAGE_HEADER_SIZE) {
        VRN_LOG(VRN_LOG_DEBUG, "[data_writer] Received empty data page. Skipping.");
        return true;
    }
    if (!check_sizes(page)) return false;
    if (!vrn_data_page_filter_accepts_page(writer->page_filter, *page)) return true;
    const vrn_block_type_t kind = first_block_type(page);
    vrn_data_file_t *file = file_of(writer, page, kind);
    return note_schemas(file, page, kind) && store_blocks(writer, file, page);
}

}  // namespace

vrn_data_writer_t *vrn_data_writer_create(const vrn_client_id_t *client_id) {
    std::unique_ptr<vrn_data_writer_t> writer;
    const bool is_made = vrn::catch_all([&] {
        writer = std::make_unique<vrn_data_writer_t>();
        writer->client_id = *client_id;
    });
    return is_made ? writer.release() : nullptr;  // to the caller
}

void vrn_data_writer_destroy(vrn_data_writer_t *writer) {
    const std::unique_ptr<vrn_data_writer_t> owner(writer);
    if (!writer) return;
    // Each file is finished, also when one before it could not be.
    for (auto &entry : writer->files)
        static_cast<void>(vrn::catch_all([&] { vrn_data_file_destroy(&entry.second); }));
}

bool vrn_data_writer_set_data_dir(vrn_data_writer_t *writer, const char *dir) {
    return change_text(writer, &writer->data_dir, dir);
}

bool vrn_data_writer_set_counters_path_template(vrn_data_writer_t *writer, const char *text) {
    if (!check_template(text)) return false;
    return vrn::catch_all([&] {
        std::string new_text = text;
        if (writer->counters_path_template == new_text) return;
        // One template is enough for a writer that needs no two.
        if (writer->data_path_template.empty()) writer->data_path_template = new_text;
        writer->tag_in_path = new_text.find("/{{tag}}/") != std::string::npos;
        change_setting(writer, &writer->counters_path_template, std::move(new_text));
    });
}

bool vrn_data_writer_set_data_path_template(vrn_data_writer_t *writer, const char *text) {
    return check_template(text) && change_text(writer, &writer->data_path_template, text);
}

bool vrn_data_writer_set_file_size_limit(vrn_data_writer_t *writer, std::uint64_t bytes) {
    return change_number(writer, &writer->file_size_limit, bytes);
}

bool vrn_data_writer_set_file_age_limit(vrn_data_writer_t *writer, std::uint64_t microseconds) {
    return change_number(writer, &writer->file_age_limit, microseconds);
}

bool vrn_data_writer_set_data_size_limit(vrn_data_writer_t *writer, std::uint64_t bytes) {
    if (writer->file_size_limit > bytes - 1) {  // 0 wraps: no limit always passes
        VRN_LOG(VRN_LOG_ERROR, "[data_writer] data size limit must be larger than file size limit");
        return false;
    }
    writer->data_size_limit = bytes;
    return true;
}

bool vrn_data_writer_set_keep_files_open(vrn_data_writer_t *writer, bool keep_open) {
    writer->keep_files_open = keep_open;
    return true;
}

bool vrn_data_writer_set_write_nodeinfo(vrn_data_writer_t *writer, bool write_nodeinfo) {
    writer->write_nodeinfo = write_nodeinfo;
    return true;
}

bool vrn_data_writer_set_page_filter(vrn_data_writer_t *writer, const char *allowed_tags,
                                     const char *excluded_tags, const char *allowed_scopes,
                                     const char *excluded_scopes, const char *allowed_scope_file,
                                     const char *excluded_scope_file) {
    return vrn::catch_all([&] {
        vrn_data_page_filter_t filter;
        vrn_data_page_filter_init(&filter, text_or_empty(allowed_tags),
                                  text_or_empty(excluded_tags), text_or_empty(allowed_scopes),
                                  text_or_empty(excluded_scopes), text_or_empty(allowed_scope_file),
                                  text_or_empty(excluded_scope_file), "[data_writer] ");
        // Only once it is whole: a failure leaves the filter before in force.
        writer->page_filter = std::move(filter);
        vrn_data_page_filter_print_config(writer->page_filter);
    });
}

bool vrn_data_writer_write_page(vrn_data_writer_t *writer, const vrn_data_page_t *page,
                                const void * /*unused*/) {
    if (!vrn_data_writer_enabled) return true;
    bool is_safe = false;
    const bool is_done = vrn::catch_all([&] {
        if (!vrn_data_page_is_shared(page)) {
            is_safe = store_page(writer, page);
            return;
        }
        // Its producer may write on while the page is stored, so all checks look at a copy.
        const vrn_data_page_ptr snapshot(vrn_data_page_snapshot(page));
        is_safe = snapshot && store_page(writer, snapshot.get());
    });
    if (!is_safe) ++writer->lost_pages;
    return is_done;
}

std::uint64_t vrn_data_writer_get_lost_pages(const vrn_data_writer_t *writer) {
    return writer->lost_pages;
}

std::uint64_t vrn_data_writer_get_first_timestamp(const vrn_data_writer_t *writer,
                                                  const vrn_data_page_t *page) {
    const auto place = writer->files.find(key_of(page));
    if (place == writer->files.end()) {
        // No prefix, and a line feed of its own: the text is pinned.
        VRN_LOG(VRN_LOG_ERROR, "could not find the source of the page!\n");
        return 0;
    }
    const vrn_data_file_t &file = place->second;
    if (file.path.empty()) {
        VRN_LOG(VRN_LOG_ERROR, "[data_writer] Failed to get file path for timestamp query");
        return 0;
    }
    boost::system::error_code ignored;
    if (boost::filesystem::exists(file.path, ignored)) return file.first_ts;
    VRN_LOG(VRN_LOG_DEBUG, "[data_writer] File path does not exist: %s, returning 0",
            file.path.c_str());
    return 0;
}
