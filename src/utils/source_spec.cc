// What a collector is told of its sources: see vrn_source_list_from_spec and _from_range.
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <utility>

#include "utils/file_ptr.h"
#include "utils/log.h"
#include "utils/parse_number.h"
#include "utils/source_list.h"

namespace {

// A longer line is read in pieces, and each piece counts as a line. Deliberate.
constexpr std::size_t line_size = 1024;

// Of a pipe, which might never end; as much as of a scope file.
constexpr std::size_t max_pipe_bytes = 10'485'760;

// In memory, not in a temporary folder: it needs no name and nothing to clean up.
vrn::FilePtr open_memory() {
    const int descriptor = memfd_create("sources", MFD_CLOEXEC);
    if (descriptor < 0) return nullptr;
    vrn::FilePtr file(fdopen(descriptor, "w+"));
    if (!file) close(descriptor);
    return file;
}

// What comes out of `pipe`, to be read again and again. Null after a line, or out of memory.
vrn::FilePtr copy_pipe(std::FILE *pipe, const char *path) {
    vrn::FilePtr copy = open_memory();
    char buffer[BUFSIZ];
    std::size_t size = 0;
    for (std::size_t count = 0; (count = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) {
        size += count;
        if (size > max_pipe_bytes) {
            VRN_LOG(VRN_LOG_ERROR, "[source] More than %zu bytes come from %s", max_pipe_bytes,
                    path);
            return nullptr;
        }
        if (!copy || std::fwrite(buffer, 1, count, copy.get()) != count) return nullptr;
    }
    return copy && std::fflush(copy.get()) == 0 ? std::move(copy) : nullptr;
}

// Null after lines for what can't be opened, and for folders and devices.
vrn::FilePtr open_spec(const char *path) {
    struct stat status {};
    const bool is_known = stat(path, &status) == 0;
    const bool is_pipe = is_known && S_ISFIFO(status.st_mode);
    if (is_pipe || (is_known && S_ISREG(status.st_mode))) {
        vrn::FilePtr file(std::fopen(path, "r"));
        if (file) return is_pipe ? copy_pipe(file.get(), path) : std::move(file);
        VRN_LOG(VRN_LOG_ERROR, "[source] Failed to open file: %s", path);
    }
    // A file that can't be opened gets both lines; what is neither file nor pipe gets this one.
    VRN_LOG(VRN_LOG_ERROR, "[source] Failed to open text file: %s", path);
    return nullptr;
}

// Appends a source with an empty tag. False, after a line when there are too many, else out of
// memory.
bool add_source(vrn_source_list_t *list, const char *name) {
    if (list->count >= VRN_SOURCE_LIST_MAX) {
        VRN_LOG(VRN_LOG_ERROR, "[source] More than %d sources specified",
                static_cast<int>(VRN_SOURCE_LIST_MAX));
        return false;
    }
    vrn_source_ptr source(vrn_source_create(name, ""));
    if (!vrn_source_list_add(list, source.get())) return false;
    static_cast<void>(source.release());  // to the list
    return true;
}

// Calls `add` with the list and each line of the file, until it fails. Null on failure.
template <typename Add>
vrn_source_list_t *read_names(std::FILE *file, Add add) {
    vrn_source_list_ptr list(vrn_source_list_create());
    if (!list) return nullptr;
    std::rewind(file);
    char line[line_size];
    while (std::fgets(line, sizeof line, file))
        if (!add(list.get(), line)) return nullptr;
    return list.release();  // to the caller
}

bool add_fabscan_line(vrn_source_list_t *list, char *line) {
    char *open = std::strchr(line, '(');
    char *close = std::strchr(line, ')');
    if (!open || !close || close < open) return true;  // no node on this line
    *close = 0;
    return add_source(list, open + 1);
}

bool add_text_line(vrn_source_list_t *list, char *line) {
    char *rest = nullptr;
    const char *name = strtok_r(line, "\n\r", &rest);
    return !name || add_source(list, name);
}

// Fabscan files name nodes as H-... (hosts) and S-... (switches).
bool has_fabscan_mark(std::FILE *file) {
    std::rewind(file);
    char line[line_size];
    while (std::fgets(line, sizeof line, file))
        if (std::strstr(line, "H-") || std::strstr(line, "S-")) return true;
    return false;
}

struct Range {
    std::string_view first;
    std::string_view last;
    std::string_view prefix;
    bool has_prefix;
};

// Cuts `text` into the parts of one of its three forms; false when it has none of them.
bool split_range(std::string_view text, Range *range) {
    // No dash: a count. The two numbers of the other forms are checked by their parser.
    const std::size_t dash = text.find('-');
    if (dash == std::string_view::npos) {
        *range = {"1", text, {}, false};
        return true;
    }
    const std::size_t open = text.find('[');
    const std::size_t close = text.find(']');
    if (open == std::string_view::npos || close == std::string_view::npos) {
        *range = {text.substr(0, dash), text.substr(dash + 1), {}, false};
        return true;
    }
    // A prefix with a dash of its own is refused: which dash parts the range is open.
    if (dash < open || close < dash) return false;
    *range = {text.substr(open + 1, dash - open - 1), text.substr(dash + 1, close - dash - 1),
              text.substr(0, open), true};
    return true;
}

bool parse_int(std::string_view text, std::int32_t *out) {
    return vrn_parse_int_n(text.data(), text.size(), out);
}

// The name that the numbers are added to.
bool base_name(const Range &range, char *name) {
    if (!range.has_prefix) return vrn_source_get_id(name, nullptr);
    const vrn::CString prefix(strndup(range.prefix.data(), range.prefix.size()));
    if (!prefix) {
        VRN_LOG(VRN_LOG_ERROR, "[source] Failed to allocate memory");
        return false;
    }
    return vrn_source_get_id(name, prefix.get());
}

}  // namespace

vrn_source_list_t *vrn_source_list_from_range(const char *text) {
    Range range;
    std::int32_t first = 0;
    std::int32_t last = 0;
    if (!split_range(text, &range) || !parse_int(range.first, &first) ||
        !parse_int(range.last, &last) || first > last) {
        VRN_LOG(VRN_LOG_ERROR, "[source] Invalid source format: %s", text);
        return nullptr;
    }
    char base[VRN_SOURCE_NAME_SIZE];
    if (!base_name(range, base)) return nullptr;
    vrn_source_list_ptr list(vrn_source_list_create());
    if (!list) return nullptr;
    // 64 bits: a range may end at the largest 32-bit number.
    for (std::int64_t number = first; number <= last; ++number) {
        char name[VRN_SOURCE_NAME_SIZE + 16];
        std::snprintf(name, sizeof name, "%s_%d", base, static_cast<int>(number));
        if (!add_source(list.get(), name)) return nullptr;
    }
    return list.release();  // to the caller
}

vrn_source_list_t *vrn_source_list_from_spec(const char *text) {
    // Whatever exists is a file, even when its name looks like a range.
    if (access(text, F_OK) != 0) return vrn_source_list_from_range(text);
    const vrn::FilePtr file = open_spec(text);
    if (!file) return nullptr;
    return has_fabscan_mark(file.get()) ? read_names(file.get(), add_fabscan_line)
                                        : read_names(file.get(), add_text_line);
}
