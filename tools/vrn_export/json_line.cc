#include "vrn_export/json_line.h"

namespace vrn::exporter {

JsonLine::JsonLine(const std::string &line)
    : value_(json_parse_string(line.c_str())), object_(json_value_get_object(value_.get())) {}

bool JsonLine::has_text(const char *name) const {
    return json_object_get_string(object_, name) != nullptr;
}

bool JsonLine::has_number(const char *name) const {
    return json_object_has_value_of_type(object_, name, JSONNumber) != 0;
}

std::string JsonLine::text(const char *name) const {
    const char *text = json_object_get_string(object_, name);
    return text ? text : "";
}

std::uint64_t JsonLine::integer(const char *name) const {
    constexpr double limit = 0x1p64;
    const double number = json_object_dotget_number(object_, name);
    return number >= 0 && number < limit ? static_cast<std::uint64_t>(number) : 0;
}

double JsonLine::number(const char *name) const {
    return json_object_get_number(object_, name);
}

bool JsonLine::flag(const char *name, bool otherwise) const {
    const int flag = json_object_get_boolean(object_, name);
    return flag < 0 ? otherwise : flag != 0;
}

}  // namespace vrn::exporter
