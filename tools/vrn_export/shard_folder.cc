#include "vrn_export/shard_folder.h"

#include <parson.h>

#include "common/json_string.h"
#include "utils/c_ptr.h"

namespace vrn::exporter {
namespace {

using JsonValue = CPtr<JSON_Value, json_value_free>;

std::string name_of(const Shard &shard, const char *suffix) {
    return std::string(shard_folder_name) + "/shard-" + std::to_string(shard.number) + "-of-" +
           std::to_string(shard.count) + suffix;
}

std::string text_of(const JSON_Object *object, const char *name) {
    const char *text = json_object_get_string(object, name);
    return text ? text : "";
}

}  // namespace

std::string journal_name(const Shard &shard) {
    return name_of(shard, ".journal");
}

std::string shard_report_name(const Shard &shard) {
    return name_of(shard, ".jsonl");
}

std::string shard_head_line(const ShardHead &head) {
    return "{\"shard\":" + std::to_string(head.shard.number) +
           ",\"shards\":" + std::to_string(head.shard.count) +
           ",\"all_files\":" + std::to_string(head.all_files) +
           ",\"inputs\":" + tool::json_string(head.inputs) +
           ",\"options\":" + tool::json_string(head.options) + "}\n";
}

bool parse_shard_head(const std::string &line, ShardHead *head) {
    const JsonValue value(json_parse_string(line.c_str()));
    const JSON_Object *object = value ? json_value_get_object(value.get()) : nullptr;
    // Lines of files and totals are objects too, but name no shards.
    if (!object || !json_object_has_value_of_type(object, "shards", JSONNumber)) return false;
    const auto number = [&](const char *name) {
        return static_cast<std::uint64_t>(json_object_get_number(object, name));
    };
    *head = {.shard = {number("shard"), number("shards")},
             .all_files = number("all_files"),
             .inputs = text_of(object, "inputs"),
             .options = text_of(object, "options")};
    return true;
}

}  // namespace vrn::exporter
