#include "data/text/json_write.h"

bool vrn_json_set(JSON_Object *object, const char *key, vrn_json_value_ptr value) {
    if (!value || json_object_set_value(object, key, value.get()) != JSONSuccess) return false;
    (void)value.release();  // to the object
    return true;
}

bool vrn_json_append(JSON_Array *array, vrn_json_value_ptr value) {
    if (!value || json_array_append_value(array, value.get()) != JSONSuccess) return false;
    (void)value.release();  // to the array
    return true;
}

JSON_Array *vrn_json_add_array(JSON_Object *object, const char *key) {
    if (!vrn_json_set(object, key, vrn_json_value_ptr(json_value_init_array()))) return nullptr;
    return json_object_get_array(object, key);
}
