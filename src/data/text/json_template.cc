#include "data/text/json_template.h"

#include "utils/log.h"

vrn_json_value_ptr vrn_json_template_parse(const char *text) {
    vrn_json_value_ptr value(json_parse_string(text));
    if (!value) VRN_LOG(VRN_LOG_ERROR, "Unable to parse schema to JSON value: '%s'", text);
    return value;
}
