#include "vrn_check/kept_block.h"

namespace vrn::check {
namespace {

std::string text_of(const vrn_schema_id_t &id) {
    if (vrn_schema_id_is_zero(&id)) return "none";
    char hex[VRN_SCHEMA_ID_HEX_SIZE];
    vrn_schema_id_format(&id, hex);
    return hex;
}

}  // namespace

void tell_replaced(const vrn_schema_id_t &had, const vrn_schema_id_t &now, std::uint64_t offset,
                   const std::function<void(FileFault)> &tell) {
    if (vrn_schema_id_compare(&had, &now) == 0) return;
    tell({.offset = offset,
          .lost = 0,
          .kind = schema_replaced,
          .reason = "Schema " + text_of(had) + " gave way to " + text_of(now)});
}

}  // namespace vrn::check
