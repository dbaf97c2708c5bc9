// Input: the text of a metadata file, which then enriches the record of some counters.
#include <string>

#include "counters/metadata.h"
#include "counters/metadata_enrich.h"
#include "data/text/json_value.h"

namespace {

constexpr char record[] = R"({"groups": [{"labels": {}, "counter_sets":
[{"0012_a": 1, "f": 2.5, "12_": "x", "": null}, 7]}, {}]})";

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const char *data, std::size_t size) {
    const vrn_json_value_ptr document(json_parse_string(std::string(data, size).c_str()));
    const vrn_metadata_ptr metadata(vrn_metadata_from_json(document.get()));
    if (!metadata) return 0;
    const vrn_json_value_ptr value(json_parse_string(record));
    const vrn_json_text_ptr text(
        json_serialize_to_string(vrn_metadata_enrich(value.get(), metadata.get())));
    return 0;
}
