#include "data/text/json_document.h"

#include <sys/stat.h>

#include <cerrno>
#include <cinttypes>

#include "utils/log.h"

vrn_json_value_ptr vrn_json_file_parse(const char *path) {
    // parson would wait at a pipe, and take the size of a folder for that of a text.
    struct stat status {};
    if (stat(path, &status) != 0) return nullptr;
    if (!S_ISREG(status.st_mode)) {
        errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
        return nullptr;
    }
    return vrn_json_value_ptr(json_parse_file(path));
}

vrn_json_value_ptr vrn_json_template_parse(const char *text) {
    vrn_json_value_ptr value(json_parse_string(text));
    if (!value) VRN_LOG(VRN_LOG_ERROR, "Unable to parse schema to JSON value: '%s'", text);
    return value;
}

bool vrn_json_number_to_uint(const JSON_Object *object, const char *key, std::uint64_t max,
                             std::uint64_t *out) {
    const double number = json_object_get_number(object, key);
    // JSON numbers are doubles: the conversion is defined below 2 to the 64th alone. A NaN is not
    // within any bounds.
    const bool is_unsigned = number >= 0.0 && number < 0x1p64;
    if (!is_unsigned || static_cast<std::uint64_t>(number) > max) {
        VRN_LOG(VRN_LOG_ERROR, "JSON number %g of '%s' is not within 0 to %" PRIu64, number, key,
                max);
        return false;
    }
    *out = static_cast<std::uint64_t>(number);
    return true;
}
