#include "data/text/guid_switch.h"

#include "utils/env.h"

bool GuidSwitch::is_on() {
    if (state_ == State::unread) {
        const char *value = vrn_getenv("VRN_CONVERT_GUID_TO_HEX_STRING");
        // Set but empty counts as unset.
        const bool on = !value || !*value || vrn_env_value_is_true(value);
        state_ = on ? State::on : State::off;
    }
    return state_ == State::on;
}
