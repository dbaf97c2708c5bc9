#include "data/writer/data_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <stdexcept>
#include <utility>

#include "data/block.h"
#include "data/writer/data_file_io.h"
#include "data/writer/data_path.h"
#include "utils/log.h"

namespace {

// The file in progress keeps the settings that its header tells; the next one begins with the new
// value. A page with the first time of the file that ended finds no reason to rotate and is lost,
// deliberately.
template <typename Value, typename New>
void change(vrn_data_file_t *file, Value *value, const New &new_value) {
    if (*value == new_value) return;
    vrn_data_file_finish(file);
    *value = new_value;
}

// The page is lost, and there is no current file. Always false.
bool give_up_rotation(vrn_data_file_t *file) {
    file->last_write_ok = false;
    file->path.clear();
    return false;
}

// When the date library refuses the time, size and last time still belong to the old path.
void name_next_file(vrn_data_file_t *file, std::uint64_t first_ts) {
    std::string id = first_ts == 0 ? "" : std::to_string(first_ts);
    const auto swap_names = [&] {
        std::swap(file->first_ts, first_ts);
        file->id.swap(id);
    };
    swap_names();
    try {
        file->path = vrn_data_file_expand_path(file);
    } catch (const std::bad_alloc &) {
        swap_names();
        throw;
    }
    file->last_ts = 0;
    file->file_size = 0;
}

bool confine(vrn_data_file_t *file) {
    if (vrn_data_file_confine_path(file, &file->path)) return true;
    if (file->last_write_ok)
        VRN_LOG(VRN_LOG_ERROR, "[data_file] Refused data file %s outside of folder %s",
                file->path.c_str(), file->root_dir.c_str());
    return false;
}

bool make_directory(const vrn_data_file_t *file) {
    try {
        vrn_data_file_ensure_directory(file->path);
        return true;
    } catch (const std::runtime_error &error) {
        if (file->last_write_ok)
            VRN_LOG(VRN_LOG_ERROR, "[data_file] Failed to create data file %s: %s",
                    file->path.c_str(), error.what());
        return false;
    }
}

bool create_empty(vrn_data_file_t *file) {
    if (vrn_data_file_create(file)) return true;
    if (file->last_write_ok)
        VRN_LOG(VRN_LOG_ERROR, "[data_file] Failed to create empty data file %s: %s",
                file->path.c_str(), std::strerror(errno));
    return false;
}

void continue_existing(vrn_data_file_t *file) {
    VRN_LOG(VRN_LOG_DEBUG, "[data_file] Append data to an existing file %s", file->path.c_str());
    // A file that can't be looked at counts as empty here, and its next append tells why.
    static_cast<void>(vrn_data_file_read_size(file));
}

}  // namespace

void vrn_data_file_init(vrn_data_file_t *file, const vrn_client_id_t *client_id,
                        std::string_view source, std::string_view tag,
                        std::uint32_t is_not_counters) {
    *file = {};
    file->client_id = *client_id;
    file->source = source;
    file->tag = tag;
    file->is_not_counters = is_not_counters;
}

void vrn_data_file_destroy(vrn_data_file_t *file) {
    vrn_data_file_finish(file);
    *file = {};
}

std::uint64_t vrn_data_file_write(vrn_data_file_t *file, std::uint64_t first_ts,
                                  std::uint64_t last_ts, const void *data, std::uint64_t size,
                                  bool *rotated) {
    const vrn::Bytes bytes(static_cast<const std::uint8_t *>(data), size);
    return vrn_data_file_write_padded(file, first_ts, last_ts, bytes, 0, rotated);
}

std::uint64_t vrn_data_file_write_padded(vrn_data_file_t *file, std::uint64_t first_ts,
                                         std::uint64_t last_ts, vrn::Bytes data,
                                         std::uint64_t padding, bool *rotated) {
    const bool is_new = vrn_data_file_rotate(file, first_ts, last_ts);
    if (rotated) *rotated = is_new;
    // Kept also when nothing is appended: the header tells the last time that was tried.
    file->last_ts = last_ts;
    return file->path.empty() ? 0 : vrn_data_file_append(file, data, padding);
}

bool vrn_data_file_needs_rotation(const vrn_data_file_t *file, std::uint64_t first_ts,
                                  std::uint64_t last_ts) {
    if (file->first_ts == 0) return true;
    // Somebody removed it: what is written to it now would be lost.
    if (!file->path.empty() && !vrn_data_file_is_present(file)) return true;
    // Before the size is looked at: pages of one first time never part.
    if (first_ts == file->first_ts) return false;
    if (file->file_size >= file->max_file_size) return true;
    if (last_ts < file->first_ts) {
        // The missing blank is part of the message.
        VRN_LOG(VRN_LOG_WARNING, "first_timestamp %luis greater than current timestamp: %lu",
                file->first_ts, last_ts);
        return true;
    }
    // Young enough, but a file that ended for another reason has no path to go on with.
    if (last_ts - file->first_ts < file->max_file_age) return file->path.empty();
    return true;
}

bool vrn_data_file_rotate(vrn_data_file_t *file, std::uint64_t first_ts, std::uint64_t last_ts) {
    if (!vrn_data_file_needs_rotation(file, first_ts, last_ts)) return false;
    // A header that fails was told, and must not keep the next file from being made.
    if (!file->path.empty()) static_cast<void>(vrn_data_file_update_header(file));
    name_next_file(file, first_ts);
    if (file->path.empty()) return true;
    if (!confine(file)) return give_up_rotation(file);
    // A run that starts again goes on in its file, whose header stays as it is.
    if (vrn_data_file_has_content(file->path)) {
        continue_existing(file);
        return true;
    }
    if (!make_directory(file) || !create_empty(file)) return give_up_rotation(file);
    return true;
}

void vrn_data_file_finish(vrn_data_file_t *file) {
    if (file->path.empty()) return;
    static_cast<void>(vrn_data_file_update_header(file));  // told; the file ends all the same
    file->path.clear();
}

void vrn_data_file_set_max_size(vrn_data_file_t *file, std::uint64_t bytes) {
    if (bytes != 0) change(file, &file->max_file_size, bytes);
}

void vrn_data_file_set_max_age(vrn_data_file_t *file, std::uint64_t microseconds) {
    if (microseconds != 0) change(file, &file->max_file_age, microseconds);
}

void vrn_data_file_set_block_size(vrn_data_file_t *file, std::uint32_t bytes) {
    change(file, &file->block_size, bytes);
}

void vrn_data_file_set_counters_schema_id(vrn_data_file_t *file, const vrn_schema_id_t *id) {
    if (vrn_schema_id_compare(&file->counters_schema_id, id) == 0) return;
    vrn_data_file_finish(file);
    vrn_schema_id_copy(&file->counters_schema_id, id);
}

void vrn_data_file_set_event_schema_ids(vrn_data_file_t *file, vrn::Bytes block) {
    // Always seven, whatever count the block tells; what the block does not reach is zero.
    vrn_schema_id_t ids[VRN_EVENT_SCHEMA_IDS] = {};
    if (block.size() > sizeof(vrn_schemas_block_t)) {
        const vrn::Bytes after_header = block.subspan(sizeof(vrn_schemas_block_t));
        std::memcpy(ids, after_header.data(), std::min(sizeof ids, after_header.size()));
    }
    if (std::memcmp(file->event_schema_ids, ids, sizeof ids) == 0) return;
    vrn_data_file_finish(file);
    std::memcpy(file->event_schema_ids, ids, sizeof ids);
}

void vrn_data_file_set_tag(vrn_data_file_t *file, std::string_view tag) {
    change(file, &file->tag, tag);
}

void vrn_data_file_set_root_dir(vrn_data_file_t *file, std::string_view dir) {
    if (!dir.empty()) change(file, &file->root_dir, dir);
}

void vrn_data_file_set_path_template(vrn_data_file_t *file, std::string_view text) {
    if (!text.empty()) change(file, &file->path_template, text);
}

void vrn_data_file_set_keep_open(vrn_data_file_t *file, bool keep_open) {
    file->keep_open = keep_open;
}

void vrn_data_file_set_tag_in_path(vrn_data_file_t *file, bool tag_in_path) {
    file->tag_in_path = tag_in_path;
}
