#include "utils/hca_sysfs.h"

#include <fcntl.h>
#include <glob.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include "utils/c_ptr.h"
#include "utils/file_ptr.h"
#include "utils/log.h"
#include "utils/string_array.h"
#include "utils/string_template.h"

namespace {

constexpr char infiniband_class_dir[] = "/sys/class/infiniband";

// Longest text of a value: a GID has 39 characters and a line feed.
constexpr std::size_t value_limit = 40;
// The high half of a GID and its colon; a text longer than this is a GID.
constexpr std::size_t gid_prefix = 20;

using Guid = char[VRN_HCA_GUID_SIZE];

// Copies the digits of a GUID, or of the low half of a GID: groups of four, each followed by a
// colon or a line feed.
void copy_guid(Guid &guid, std::string_view text) {
    if (text.size() > gid_prefix) text.remove_prefix(gid_prefix);
    std::size_t digits = 0;
    for (std::size_t i = 0; i < text.size(); ++i)
        if (i % 5 != 4) guid[digits++] = text[i];
}

// Reads the value of the file at an expanded path. A failure leaves `guid` as it is.
void read_guid(Guid &guid, const char *path_template, ...) __attribute__((format(printf, 2, 3)));
void read_guid(Guid &guid, const char *path_template, ...) {
    std::va_list arguments;
    va_start(arguments, path_template);
    const vrn::CString path(vrn_expand_string_template(path_template, arguments));
    va_end(arguments);
    if (!path) {
        VRN_LOG(VRN_LOG_WARNING, "HCA info: could not expand template %s", path_template);
        return;
    }
    const int file = open(path.get(), O_RDONLY | O_CLOEXEC);
    if (file < 0) return;  // e.g. an adapter without a second port
    char text[value_limit];
    errno = 0;
    // One read: sysfs hands out a value whole, and what lies beyond the limit is no GUID.
    const ssize_t size = read(file, text, sizeof text);
    if (size <= 0)
        VRN_LOG(VRN_LOG_ERROR, "HCA info: failed to read file %s: %s", path.get(),
                std::strerror(errno));
    else
        copy_guid(guid, {text, static_cast<std::size_t>(size)});
    close(file);
}

void read_entry(vrn_hca_info_t *entry, const char *class_dir, const char *name) {
    *entry = {};
    const std::size_t length = std::strlen(name);
    // The field needs no terminator, so a name of exactly its size is whole.
    if (length > sizeof entry->hca_name)
        VRN_LOG(VRN_LOG_WARNING, "HCA info: name %s does not fit %zu buffer", name,
                sizeof entry->hca_name);
    std::memcpy(entry->hca_name, name, std::min(length, sizeof entry->hca_name));
    read_guid(entry->system_image_guid, "%s/%s/sys_image_guid", class_dir, name);
    read_guid(entry->node_guid, "%s/%s/node_guid", class_dir, name);
    read_guid(entry->port_1_guid, "%s/%s/ports/%d/gids/0", class_dir, name, 1);
    read_guid(entry->port_2_guid, "%s/%s/ports/%d/gids/0", class_dir, name, 2);
}

class Glob {
  public:
    Glob() = default;
    ~Glob() { globfree(&found_); }
    Glob(const Glob &) = delete;
    Glob &operator=(const Glob &) = delete;

    // Finds the folders that match, in order. False after a line.
    bool find(const char *pattern);
    std::size_t size() const { return found_.gl_pathc; }
    const char *operator[](std::size_t index) const { return found_.gl_pathv[index]; }

  private:
    glob_t found_{};
};

bool Glob::find(const char *pattern) {
    errno = 0;
    // GLOB_MARK adds the last slash, between which and the one before the device's name stands.
    // GLOB_MARK ends each match with a slash, which a device's name is cut at.
    int result = glob(pattern, GLOB_ERR | GLOB_MARK, nullptr, &found_);
    // A class folder that is not there is a machine without HCAs, not a failure to read one.
    if (result == GLOB_ABORTED && errno == ENOENT) result = GLOB_NOMATCH;
    switch (result) {
        case 0:
            return true;
        case GLOB_NOSPACE:
            VRN_LOG(VRN_LOG_ERROR, "HCA info: globing ran out of space");
            return false;
        case GLOB_ABORTED:
            VRN_LOG(VRN_LOG_ERROR, "HCA info: globing read failed: %s", std::strerror(errno));
            return false;
        default:
            VRN_LOG(VRN_LOG_WARNING, "HCA info: globing found no matches of '%s'", pattern);
            return false;
    }
}

// Appends what stands between the last two slashes of a match. False: out of memory.
bool append_device_name(vrn_string_array_t **names, std::string_view match) {
    const std::size_t end = match.rfind('/');
    if (end == std::string_view::npos || end == 0) return true;
    const std::size_t before = match.rfind('/', end - 1);
    if (before == std::string_view::npos) return true;
    const std::string name(match.substr(before + 1, end - before - 1));
    return vrn_string_array_append(names, name.c_str());
}

bool find_device_names(const char *class_dir, vrn_string_array_ptr *names) {
    Glob matches;
    if (!matches.find((std::string(class_dir) + "/*").c_str())) return false;
    vrn_string_array_t *array = names->release();  // appending may move it
    bool done = true;
    for (std::size_t i = 0; done && i < matches.size(); ++i)
        done = append_device_name(&array, matches[i]);
    names->reset(array);
    return done;
}

}  // namespace

void vrn_hca_info_collect_below(const char *class_dir, vrn_hca_info_t *array, int capacity) {
    vrn_string_array_ptr names(vrn_string_array_create());
    if (!names) {
        VRN_LOG(VRN_LOG_ERROR, "HCA info: failed to allocate memory for HCA names array");
        return;
    }
    if (!find_device_names(class_dir, &names)) return;
    const std::size_t found = names->count;
    const std::size_t room = static_cast<std::size_t>(std::max(capacity, 0));
    if (found > room)
        VRN_LOG(VRN_LOG_WARNING,
                "HCA info: %zu of %zu found HCAs will not fit array of %d elements", found - room,
                found, capacity);
    for (std::size_t i = 0; i < std::min(found, room); ++i)
        read_entry(&array[i], class_dir, names->strings[i]);
}

// Always 0: the outcome is seen in the array, whose unfilled entries stay as they were.
int vrn_hca_info_collect(vrn_hca_info_t *array, int capacity) {
    vrn_hca_info_collect_below(infiniband_class_dir, array, capacity);
    return 0;
}

int vrn_port_has_no_smi_below(const char *class_dir, const char *device, int port) {
    // Its ports always have one, whatever the file says.
    if (std::strcmp(device, "nic4_0") == 0) return 0;
    char path[1024];
    std::snprintf(path, sizeof path, "%s/%s/ports/%d/has_smi", class_dir, device, port);
    struct stat status {};
    // Where the kernel does not tell, a port counts as one with an SMI.
    if (stat(path, &status) != 0) return 0;
    const vrn::FilePtr file(std::fopen(path, "r"));
    if (!file) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to open has_smi file: %s with %s:%d", path, device, port);
        return -1;
    }
    const int character = std::fgetc(file.get());
    if (character == EOF) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to read has_smi file: %s with %s:%d", path, device, port);
        return -1;
    }
    return character == '0' ? 1 : 0;
}

int vrn_port_has_no_smi(const char *device, int port) {
    return vrn_port_has_no_smi_below(infiniband_class_dir, device, port);
}
