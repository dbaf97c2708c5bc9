#include "reader/output_format.h"

#include "utils/name_table.h"

namespace {

constexpr vrn_name_value_t format_names[] = {
    {VRN_FORMAT_JSON, "json"},   {VRN_FORMAT_NDJSON, "ndjson"}, {VRN_FORMAT_TXT, "txt"},
    {VRN_FORMAT_CSV, "csv"},     {VRN_FORMAT_INFLUX, "influx"}, {VRN_FORMAT_BIN, "bin"},
    {VRN_NAME_UNKNOWN, nullptr},
};

}  // namespace

bool vrn_output_format_from_name(const char *name, vrn_output_format_t *format) {
    const std::uint32_t value = vrn_name_to_value(format_names, name);
    if (value == VRN_NAME_UNKNOWN) return false;
    *format = static_cast<vrn_output_format_t>(value);
    return true;
}

const char *vrn_output_format_name(vrn_output_format_t format) {
    return vrn_value_to_name(format_names, format);
}
