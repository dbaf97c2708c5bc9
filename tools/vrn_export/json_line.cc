#include "vrn_export/json_line.h"

namespace vrn::exporter {

JsonLine::JsonLine(const std::string &line)
    : JsonObject(nullptr), value_(json_parse_string(line.c_str())) {
    object_ = json_value_get_object(value_.get());
}

bool JsonObject::has_text(const char *name) const {
    return json_object_get_string(object_, name) != nullptr;
}

bool JsonObject::has_number(const char *name) const {
    return json_object_has_value_of_type(object_, name, JSONNumber) != 0;
}

std::string JsonObject::text(const char *name) const {
    const char *text = json_object_get_string(object_, name);
    return text ? text : "";
}

std::uint64_t JsonObject::integer(const char *name) const {
    constexpr double limit = 0x1p64;
    const double number = json_object_dotget_number(object_, name);
    return number >= 0 && number < limit ? static_cast<std::uint64_t>(number) : 0;
}

double JsonObject::number(const char *name) const {
    return json_object_get_number(object_, name);
}

bool JsonObject::flag(const char *name, bool otherwise) const {
    const int flag = json_object_get_boolean(object_, name);
    return flag < 0 ? otherwise : flag != 0;
}

std::vector<JsonObject> JsonObject::objects(const char *name) const {
    const JSON_Array *array = json_object_get_array(object_, name);
    std::vector<JsonObject> objects;
    for (std::size_t i = 0; i < json_array_get_count(array); ++i)
        objects.emplace_back(json_array_get_object(array, i));
    return objects;
}

}  // namespace vrn::exporter
