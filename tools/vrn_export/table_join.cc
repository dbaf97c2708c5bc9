#include "vrn_export/table_join.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string_view>

#include "common/shown_text.h"
#include "vrn_export/table_piece.h"

namespace vrn::exporter {
namespace {

constexpr std::size_t copy_size = 1 << 18;  // bytes in memory at a time

class PartReader {
  public:
    explicit PartReader(const std::string &path)
        : path_(path), file_(path, std::ios::binary), buffer_(copy_size, '\0') {
        std::error_code error;
        left_ = std::filesystem::file_size(path, error);
        if (!file_ || error) fail();
    }

    // False at the end.
    bool next(TablePiece *piece, std::string *head) {
        std::string line;
        if (!std::getline(file_, line)) return false;
        left_ -= std::min<std::uint64_t>(left_, line.size() + 1);
        if (!parse_piece_line(line, piece) || piece->head_size > left_ ||
            piece->rows_size > left_ - piece->head_size)
            fail();
        left_ -= piece->head_size + piece->rows_size;
        head->resize(piece->head_size);
        read(head->data(), head->size());
        return true;
    }

    void copy(std::uint64_t size, WholeFile *to) {
        while (size > 0) {
            const std::size_t count = std::min<std::uint64_t>(size, buffer_.size());
            read(buffer_.data(), count);
            to->write({buffer_.data(), count});
            size -= count;
        }
    }

  private:
    void read(char *to, std::size_t size) {
        if (!file_.read(to, static_cast<std::streamsize>(size))) fail();
    }
    [[noreturn]] void fail() const {
        throw std::runtime_error(tool::shown_text(path_) + " is no part of this export");
    }

    std::string path_;
    std::ifstream file_;
    std::string buffer_;
    std::uint64_t left_ = 0;  // bytes after the piece
};

}  // namespace

void TableJoin::add(const std::string &part) {
    PartReader reader(places_.folder + "/" + part);
    std::string head;
    for (TablePiece piece; reader.next(&piece, &head);)
        reader.copy(piece.rows_size, &table_of(piece.file, head).file);
}

// Names cut for their length, or made of a digest, can be equal on purpose: rows never go below a
// head that isn't theirs.
TableJoin::Table &TableJoin::table_of(const std::string &file, const std::string &head) {
    const auto found = tables_.find({file, head});
    if (found != tables_.end()) return found->second;
    std::string name = file;
    for (unsigned number = 2; !names_.insert(name).second; ++number)
        name = file + "~" + std::to_string(number);
    const std::string path = places_.folder + "/" + name;
    inputs_.spare(path);
    Table table{name, WholeFile(path)};
    table.file.write(head);
    return tables_.emplace(std::pair(file, head), std::move(table)).first->second;
}

std::vector<std::string> TableJoin::finish() {
    std::vector<std::string> names;
    std::map<std::string, WholeFile *> files;
    for (auto &[key, table] : tables_) {
        files[table.name] = &table.file;
        names.push_back(table.name);
    }
    give_names(places_, files);
    return names;
}

}  // namespace vrn::exporter
