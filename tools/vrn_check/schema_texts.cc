#include "vrn_check/schema_texts.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "scan/schema_folder.h"

namespace vrn::check {
namespace {

std::string hex_of(const vrn_schema_id_t &id) {
    char hex[VRN_SCHEMA_ID_HEX_SIZE];
    vrn_schema_id_format(&id, hex);
    return hex;
}

// Findings of one folder that are kept; hostile files name any number of schemas.
constexpr std::size_t max_findings = 10000;

}  // namespace

SchemaTexts::SchemaTexts(const std::string &folder)
    : folder_(folder), cache_({.folder = folder, .take_what_loads = true}) {}

const KnownSchemas &SchemaTexts::known() {
    // Only damaged files need it, and it reads every schema of the folder.
    const std::lock_guard lock(mutex_);
    if (!known_) known_ = std::make_unique<const KnownSchemas>(folder_);
    return *known_;
}

SchemaTexts::Finding SchemaTexts::look_up(const vrn_schema_id_t &id) {
    // Neither stands for a file.
    if (vrn_schema_id_is_zero(&id) || vrn_schema_id_is_blob(&id)) return {};
    const std::string hex = hex_of(id);
    const std::lock_guard lock(mutex_);
    if (const auto found = findings_.find(hex); found != findings_.end()) return found->second;
    if (findings_.size() == max_findings) findings_.clear();
    // Under the lock, so that threads that ask for the same schema read it once.
    return findings_[hex] = inspect(id);
}

SchemaTexts::Finding SchemaTexts::inspect(const vrn_schema_id_t &id) const {
    const std::string name = scan::schema_file_name(id);
    const std::string path = folder_ + "/" + name;
    std::error_code error;
    // A pipe or a device may have no end.
    if (!std::filesystem::is_regular_file(path, error))
        return {"schema_missing", "There is no " + name + " in " + folder_};
    std::ifstream file(path, std::ios::binary);
    if (!file) return {"schema_missing", path + ": " + std::strerror(errno)};
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    vrn_schema_id_t digest{};
    // The digest ends at a NUL, which no schema has.
    if (text.find('\0') == text.npos && vrn_md5_of_string(text.c_str(), &digest) &&
        vrn_schema_id_compare(&digest, &id) == 0)
        return {};
    return {"schema_text", "The text of " + path + " isn't the one that the id stands for"};
}

SchemaTexts *SchemaFolders::of_file(const std::string &path) {
    const std::string folder = scan::schema_folder_of(path, folder_);
    const std::lock_guard lock(mutex_);
    std::unique_ptr<SchemaTexts> &texts = texts_[folder];
    if (!texts) texts = std::make_unique<SchemaTexts>(folder);
    return texts.get();
}

}  // namespace vrn::check
