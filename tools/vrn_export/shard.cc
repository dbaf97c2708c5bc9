#include "vrn_export/shard.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "common/command_line.h"
#include "vrn_export/format/hex_digest.h"

namespace vrn::exporter {
namespace {

// What a file costs beside its bytes, so that small ones are shared out, too.
constexpr std::uint64_t file_weight = 8192;

}  // namespace

Shard shard_value(const char *text) {
    const char *slash = std::strchr(text, '/');
    if (slash) {
        try {
            const std::string number(text, slash);
            const std::uint64_t count = tool::number_value(slash + 1, 1, max_shards);
            return {tool::number_value(number.c_str(), 1, count), count};
        } catch (const tool::BadValue &) {
            slash = nullptr;
        }
    }
    throw tool::BadValue("K/N, with K from 1 to N");
}

void keep_shard(const Shard &shard, std::vector<tool::InputFile> *files) {
    // All machines must cut one list at the same places, in whatever order they found the files.
    std::ranges::sort(*files, {}, &tool::InputFile::path);
    std::uint64_t total = 0;
    for (const tool::InputFile &file : *files) total += file.size + file_weight;
    std::uint64_t before = 0;
    std::erase_if(*files, [&](const tool::InputFile &file) {
        // By where its middle lies.
        const std::uint64_t middle = before + (file.size + file_weight) / 2;
        before += file.size + file_weight;
        // Bytes times shards may exceed 64 bits.
        const auto place = static_cast<unsigned __int128>(middle) * shard.count / total;
        return place != shard.number - 1;
    });
}

std::string digest_of(const std::vector<tool::InputFile> &files) {
    std::string digest;
    for (const tool::InputFile &file : files) {
        // No path holds a NUL, so that no two lists make one text; hex keeps NULs out of the texts.
        digest.append("\n").append(std::to_string(file.size)).append("\n").append(file.path);
        digest = hex_digest(digest);
    }
    return digest;
}

}  // namespace vrn::exporter
