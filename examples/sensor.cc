#include "sensor.h"

#include <vrn/data/schema/schema_registration.h>
#include <vrn/data/selection/name_tables.h>
#include <vrn/data/version.h>

const vrn_schema_t *add_fan_schema(vrn_type_system_t *types) {
    vrn_schema_t *schema =
        vrn_type_system_add_new_schema(types, "fans", VRN_SCHEMA_VERSION, nullptr);
    if (!schema) return nullptr;
    vrn_type_field_info_t fields[3]{};
    fields[0].name = "name";
    fields[0].type_name = "char";
    fields[0].array_length = sizeof(FanRow::name);
    fields[1].name = "rpm";
    fields[1].type_name = "uint32_t";
    fields[1].array_length = 1;
    fields[2].name = "duty";
    fields[2].type_name = "double";
    fields[2].array_length = 1;
    for (vrn_type_field_info_t &field : fields) {
        field.description = "";
        field.counting_mode = VRN_COUNTING_ABSOLUTE;
    }
    return vrn_schema_add_type(schema, "fan", fields, 3, nullptr) == VRN_SCHEMA_OK ? schema
                                                                                   : nullptr;
}
