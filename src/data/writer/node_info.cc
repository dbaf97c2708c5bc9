#include "data/writer/node_info.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string_view>

#include "utils/descriptor.h"
#include "utils/env.h"
#include "utils/file_lock.h"
#include "utils/log.h"
#include "utils/replace_file.h"

namespace {

// Makes the document of the page's HCAs, of which `digest` is the digest.
bool make_document(vrn_nodeinfo_t *state, const vrn_data_page_t *page, const std::uint8_t *digest) {
    // What it told is out of date, even if no new one can be made.
    state->json.reset();
    state->timestamp = vrn_data_page_get_first_ts(page);
    char *text = nullptr;
    std::size_t size = 0;
    if (!vrn_hca_info_to_json(&state->timestamp, page->hca_info, VRN_PAGE_HCA_INFOS, &text, &size))
        return false;
    state->json.reset(text);
    state->json_size = size;
    std::memcpy(state->hca_digest, digest, sizeof state->hca_digest);
    return true;
}

bool allows_more_files() {
    const char *value = vrn_getenv("VRN_ALLOW_MULTIPLE_NODEINFO");
    return !value || !*value || vrn_env_value_is_true(value);
}

// The first document of a folder has the plain name, later ones that of their time. Empty when
// there is none to write.
std::string choose_path(const vrn_nodeinfo_t *state) {
    std::string path = state->dir + "/nodeinfo.json";
    if (access(path.c_str(), F_OK) != 0) return path;
    if (!allows_more_files()) return {};
    return state->dir + "/nodeinfo." + std::to_string(state->timestamp) + ".json";
}

vrn::ReplacedFile replace(const std::string &path, std::string_view content) {
    // The limit is deliberate, whatever the file system would take.
    constexpr std::size_t max_path_size = 1000;  // with its terminator
    if (path.size() < max_path_size) return vrn::replace_file(path, content);
    errno = ENAMETOOLONG;
    return vrn::ReplacedFile::not_opened;
}

void write_file(const vrn_nodeinfo_t *state, const std::string &path) {
    switch (replace(path, {state->json.get(), state->json_size})) {
        case vrn::ReplacedFile::done:
            return;
        case vrn::ReplacedFile::not_opened:
            VRN_LOG(VRN_LOG_ERROR, "[nodeinfo_file] Failed to open file %s for writing: %s",
                    path.c_str(), std::strerror(errno));
            return;
        case vrn::ReplacedFile::not_written:
            VRN_LOG(VRN_LOG_ERROR, "[nodeinfo_file] Failed to write data to file %s: %s",
                    path.c_str(), std::strerror(errno));
    }
}

}  // namespace

void vrn_nodeinfo_init(vrn_nodeinfo_t *state) {
    *state = vrn_nodeinfo_t();
}

void vrn_nodeinfo_clear(vrn_nodeinfo_t *state) {
    *state = vrn_nodeinfo_t();
}

void vrn_nodeinfo_update(vrn_nodeinfo_t *state, const char *dir, const vrn_data_page_t *page) {
    std::uint8_t digest[VRN_HCA_DIGEST_SIZE];
    vrn_hca_info_digest(page->hca_info, VRN_PAGE_HCA_INFOS, digest);
    const bool is_new = std::memcmp(digest, state->hca_digest, sizeof digest) != 0 &&
                        make_document(state, page, digest);
    // Also after a document that could not be made: the next page tries again.
    if (!is_new && state->dir == dir) return;
    state->dir = dir;
    if (!state->json) return;
    // Another process may come to the same folder with its first document.
    const vrn::Descriptor folder(open(dir, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const vrn::FileLock lock(folder.get());
    const std::string path = choose_path(state);
    if (!path.empty()) write_file(state, path);
}
