#include "vrn_export/shard_folder.h"

#include "common/json_string.h"
#include "vrn_export/json_line.h"

namespace vrn::exporter {
namespace {

std::string name_of(const Shard &shard, const char *suffix) {
    return std::string(shard_folder_name) + "/shard-" + std::to_string(shard.number) + "-of-" +
           std::to_string(shard.count) + suffix;
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
           ",\"options\":" + tool::json_string(head.options) +
           (head.tables.empty() ? "" : ",\"tables\":" + tool::json_string(head.tables)) + "}\n";
}

bool parse_shard_head(const std::string &line, ShardHead *head) {
    const JsonLine json(line);
    // Lines of files and totals are objects too, but name no shards.
    if (!json.has_number("shards")) return false;
    *head = {.shard = {json.integer("shard"), json.integer("shards")},
             .all_files = json.integer("all_files"),
             .inputs = json.text("inputs"),
             .options = json.text("options"),
             .tables = json.text("tables")};
    return true;
}

}  // namespace vrn::exporter
