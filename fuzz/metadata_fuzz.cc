// Input: the text of a metadata file, which then enriches the record of some counters.
#include <string>

#include "data/text/json_template.h"
#include "reader/metadata.h"
#include "support/temp_dir.h"

namespace {

constexpr char record[] = R"({"groups": [{"labels": {}, "counter_sets":
[{"0012_a": 1, "f": 2.5, "12_": "x", "": null}, 7]}, {}]})";

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const char *data, std::size_t size) {
    static const vrn::test::TempDir folder;
    folder.write("metadata_x.json", {data, size});
    const vrn_metadata_ptr metadata(vrn_metadata_load(folder.path().c_str()));
    if (!metadata) return 0;
    const vrn_json_value_ptr value(json_parse_string(record));
    const vrn_json_text_ptr text(
        json_serialize_to_string(vrn_metadata_enrich(value.get(), metadata.get())));
    return 0;
}
