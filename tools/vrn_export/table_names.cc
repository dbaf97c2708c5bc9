#include "vrn_export/table_names.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <vector>

#include "common/json_string.h"
#include "common/tool_main.h"
#include "utils/descriptor.h"
#include "utils/file_lock.h"
#include "vrn_export/json_line.h"
#include "vrn_export/shard_folder.h"

namespace vrn::exporter {
namespace {

struct KnownTable {
    std::string name;
    std::uint64_t size = 0;
    std::string suffix;
};

using KnownTables = std::vector<KnownTable>;

std::string line_of(const KnownTable &table) {
    return "{\"table\":" + tool::json_string(table.name) +
           ",\"bytes_out\":" + std::to_string(table.size) +
           ",\"suffix\":" + tool::json_string(table.suffix) + "}\n";
}

KnownTables read_list(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    KnownTables tables;
    for (std::string line; std::getline(file, line);) {
        const JsonLine json(line);
        tables.push_back({json.text("table"), json.integer("bytes_out"), json.text("suffix")});
    }
    return tables;
}

void write_list(const std::string &path, const KnownTables &tables) {
    WholeFile file(path);
    for (const KnownTable &table : tables) file.write(line_of(table));
    file.finish();
}

bool is_as_made(const std::string &path, std::uint64_t size) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           static_cast<std::uint64_t>(status.st_size) == size;
}

}  // namespace

void give_names(const TablePlaces &places, const std::map<std::string, WholeFile *> &tables) {
    const std::string folder = places.folder + "/" + shard_folder_name;
    const std::string list = places.folder + "/" + table_list_name;
    std::filesystem::create_directories(folder);
    const Descriptor handle(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const FileLock lock(handle.get());
    if (!lock.is_held()) throw std::system_error(errno, std::generic_category(), folder);
    KnownTables made;
    for (const auto &[name, file] : tables) made.push_back({name, file->size(), places.suffix});
    const KnownTables known = read_list(list);
    // Before the names, of which a kill may leave some.
    KnownTables all = known;
    all.insert(all.end(), made.begin(), made.end());
    write_list(list, all);
    for (const auto &[name, file] : tables) file->finish();
    for (const KnownTable &table : known) {
        const std::string path = places.folder + "/" + table.name;
        if (tables.contains(table.name) || !is_as_made(path, table.size)) continue;
        made.push_back(table);
        if (table.suffix == places.suffix)
            tool::print_error("vrn_export", path + ": is of an earlier run, and stays");
    }
    write_list(list, made);
}

}  // namespace vrn::exporter
