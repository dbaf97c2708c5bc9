#include "data/text/json_number.h"

#include <cinttypes>

#include "utils/log.h"

namespace {

// JSON numbers are doubles; only those in here have a defined conversion. Refuses a NaN, too.
bool fits_uint64(double number) {
    return number >= 0.0 && number < 0x1p64;
}

}  // namespace

bool vrn_json_number_to_uint(const JSON_Object *object, const char *key, std::uint64_t max,
                             std::uint64_t *out) {
    const double number = json_object_get_number(object, key);
    if (!fits_uint64(number) || static_cast<std::uint64_t>(number) > max) {
        VRN_LOG(VRN_LOG_ERROR, "JSON number %g of '%s' is not within 0 to %" PRIu64, number, key,
                max);
        return false;
    }
    *out = static_cast<std::uint64_t>(number);
    return true;
}
