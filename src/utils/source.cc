#include "utils/source.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "utils/byte_reader.h"
#include "utils/host_name.h"
#include "utils/log.h"

namespace {

// What text functions see of `source`: a full field runs on into the tag.
std::string_view running_source(const vrn_source_t *source) {
    const char *start = reinterpret_cast<const char *>(source);
    return {start, strnlen(start, sizeof *source)};
}

}  // namespace

bool vrn_source_get_id(char *buffer, const char *name) {
    // All of the field is written to disk, so nothing of what was there before may stay.
    std::memset(buffer, 0, VRN_SOURCE_NAME_SIZE);
    // By plain getenv: this variable has no spelling without the prefix.
    if (!name) name = std::getenv("VRN_SOURCE_ID");
    if (name) {
        std::memcpy(buffer, name, strnlen(name, VRN_SOURCE_NAME_SIZE - 1));
        return true;
    }
    if (vrn_get_host_name(buffer, VRN_SOURCE_NAME_SIZE)) return true;
    VRN_LOG(VRN_LOG_ERROR, "[source] Failed to get host name: %s", std::strerror(errno));
    return false;
}

vrn_source_t *vrn_source_create(const char *name, const char *tag) {
    auto *source = static_cast<vrn_source_t *>(std::calloc(1, sizeof(vrn_source_t)));
    if (!source) return nullptr;
    std::memcpy(source->source, name, strnlen(name, sizeof source->source - 1));
    std::memcpy(source->tag, tag, strnlen(tag, sizeof source->tag - 1));
    return source;
}

vrn_source_t *vrn_source_create_default(const char *tag) {
    char name[VRN_SOURCE_NAME_SIZE];
    return vrn_source_get_id(name, nullptr) ? vrn_source_create(name, tag) : nullptr;
}

void vrn_source_copy(vrn_source_t *to, const vrn_source_t *from) {
    *to = *from;
}

int vrn_source_compare(const vrn_source_t *a, const vrn_source_t *b) {
    const int names = running_source(a).compare(running_source(b));
    return names != 0 ? names : vrn::field_text(a->tag).compare(vrn::field_text(b->tag));
}

char *vrn_source_name_dup(const vrn_source_t *source) {
    // All 64 bytes: a full field has no terminator of its own.
    auto *name = static_cast<char *>(std::malloc(sizeof source->source + 1));
    if (!name) return nullptr;
    std::memcpy(name, source->source, sizeof source->source);
    name[sizeof source->source] = 0;
    return name;
}

bool vrn_source_to_string(const vrn_source_t *source, char *buffer, std::size_t size) {
    const std::string name(vrn::field_text(source->source));
    const std::string tag(vrn::field_text(source->tag));
    if (name.size() + tag.size() + 2 > size) {  // the colon and the terminator
        VRN_LOG(VRN_LOG_DEBUG, "[source] buffer too small for source %s:%s (got %zu)", name.c_str(),
                tag.c_str(), size);
        return false;
    }
    std::snprintf(buffer, size, "%s:%s", name.c_str(), tag.c_str());
    return true;
}
