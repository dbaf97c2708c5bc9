#include "vrn_export/format/json_value_text.h"

#include "common/json_string.h"
#include "data/text/json_string.h"

namespace vrn::exporter {

void append_json_text(std::string_view text, TextBuffer *to) {
    if (!append_checked_json_string(text, to)) to->append(tool::json_string(text));
}

}  // namespace vrn::exporter
