// A share of the inputs, for one of several machines.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/input_files.h"

namespace vrn::exporter {

inline constexpr std::uint64_t max_shards = 1'000'000;

struct Shard {
    std::uint64_t number = 1;  // from 1 to `count`
    std::uint64_t count = 1;

    bool operator==(const Shard &) const = default;
};

// Of "K/N". Throws tool::BadValue.
Shard shard_value(const char *text);

// Sorts by path and keeps the files of the shard: runs of files that follow each other and hold
// about as many bytes each, however the files were named.
void keep_shard(const Shard &shard, std::vector<tool::InputFile> *files);

// Tells lists of files apart, by their paths and sizes.
std::string digest_of(const std::vector<tool::InputFile> &files);

}  // namespace vrn::exporter
