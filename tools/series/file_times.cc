#include "series/file_times.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>

#include "data/data_file_header.h"
#include "scan/byte_source.h"

namespace vrn::series {
namespace {

// 0 for what can't be read as a data file; whoever reads it tells why.
std::uint64_t first_time_of(const std::string &path) {
    const auto source = ByteSource::open_path(path.c_str());
    vrn_data_file_header_t header;
    if (!source || source->read(&header, sizeof header) != sizeof header) return 0;
    return vrn_data_file_header_is_valid(&header) ? header.first_timestamp : 0;
}

}  // namespace

void sort_by_time(std::vector<tool::InputFile> *files) {
    // Each header is read once, not at each comparison.
    std::vector<std::pair<std::uint64_t, tool::InputFile>> timed;
    for (tool::InputFile &file : *files) {
        const std::uint64_t time = first_time_of(file.path);
        timed.emplace_back(time, std::move(file));
    }
    std::ranges::stable_sort(timed, {}, &std::pair<std::uint64_t, tool::InputFile>::first);
    files->clear();
    for (auto &[time, file] : timed) files->push_back(std::move(file));
}

}  // namespace vrn::series
