// Where an output folder keeps what is known of its parts.
#pragma once

#include <string>

#include "vrn_export/shard.h"

namespace vrn::exporter {

inline constexpr char shard_folder_name[] = ".vrn_export";
// Below the output folder: parts of formats with a file for each table.
inline constexpr char rows_folder_name[] = ".vrn_export/rows";

// Below the output folder: which tables were made.
inline constexpr char table_list_name[] = ".vrn_export/tables.jsonl";

// Names of files in an output folder: of the journal, which is there from the start of a shard, and
// of the report, which is there when all of it is done.
std::string journal_name(const Shard &shard);
std::string shard_report_name(const Shard &shard);

// The first line of a shard's report. Shards fit together when what it tells of all inputs and of
// the options is the same.
struct ShardHead {
    Shard shard;
    std::uint64_t all_files = 0;  // of all shards
    std::string inputs;           // digest of all inputs
    std::string options;
    std::string tables;  // suffix of the tables that its parts are to be joined to; empty: none
};
std::string shard_head_line(const ShardHead &head);
// False when the line is none.
[[nodiscard]] bool parse_shard_head(const std::string &line, ShardHead *head);

}  // namespace vrn::exporter
