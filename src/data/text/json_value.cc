#include "data/text/json_value.h"

bool vrn_json_set(JSON_Object *object, const char *key, vrn_json_value_ptr value) {
    if (!value || json_object_set_value(object, key, value.get()) != JSONSuccess) return false;
    static_cast<void>(value.release());  // to the object
    return true;
}

bool vrn_json_append(JSON_Array *array, vrn_json_value_ptr value) {
    if (!value || json_array_append_value(array, value.get()) != JSONSuccess) return false;
    static_cast<void>(value.release());  // to the array
    return true;
}

bool vrn_json_set_text(JSON_Object *object, const char *key, const char *text) {
    return json_object_set_string(object, key, text) == JSONSuccess;
}

// parson holds doubles alone: above 2 to the 53rd a number loses its low bits.
bool vrn_json_set_number(JSON_Object *object, const char *key, std::uint64_t number) {
    return json_object_set_number(object, key, static_cast<double>(number)) == JSONSuccess;
}

JSON_Array *vrn_json_add_array(JSON_Object *object, const char *key) {
    if (!vrn_json_set(object, key, vrn_json_value_ptr(json_value_init_array()))) return nullptr;
    return json_object_get_array(object, key);
}
