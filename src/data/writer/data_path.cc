#include "data/writer/data_path.h"

#include <algorithm>
#include <boost/date_time/posix_time/posix_time.hpp>
#include <boost/filesystem.hpp>
#include <cstdint>
#include <cstdio>
#include <locale>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include "data/writer/data_file_state.h"
#include "utils/byte_reader.h"
#include "utils/log.h"
#include "utils/string_template.h"

namespace fs = boost::filesystem;
namespace pt = boost::posix_time;

namespace {

using Variables = std::map<std::string, std::string>;

std::string tag_text(const vrn_data_file_t *file) {
    if (!file->tag.empty()) return file->tag + "_";
    // A folder must have some name; a file's name does without.
    return file->is_not_counters == 0 && file->tag_in_path ? "counters" : "";
}

Variables stream_variables(const vrn_data_file_t *file) {
    return {{"node", std::string(vrn::field_text(file->client_id.host_name))},
            {"source", file->source},
            {"port", std::to_string(file->client_id.port)},
            {"timestamp", std::to_string(file->first_ts)},
            {"tag", tag_text(file)}};
}

// Formats a time in UTC, cut to milliseconds, by a format of the date library.
std::string format_time(const std::string &format, std::uint64_t timestamp) {
    // The library counts days in 32 bits and years in 16, so far times would wrap into its range.
    constexpr std::uint64_t year_10000 = 253'402'300'800'000'000;
    if (timestamp >= year_10000) throw boost::gregorian::bad_year();
    const pt::ptime time(boost::gregorian::date(1970, 1, 1),
                         pt::milliseconds(static_cast<std::int64_t>(timestamp / 1000)));
    // The count of 1 keeps it from the locale, which would leak it where it can't be made.
    pt::time_facet facet(format.c_str(), {}, {}, {}, 1);
    std::ostringstream text;
    text.exceptions(std::ios::badbit);  // else memory that runs out would only cut the text short
    text.imbue(std::locale(std::locale::classic(), &facet));
    text << time;
    return text.str();
}

// A "%" of a source name is part of the format by then.
std::string expand_time(const vrn_data_file_t *file, const std::string &text) {
    static const Variables formats = {{"year", "%Y"}, {"month", "%m"},  {"day", "%d"},
                                      {"hour", "%H"}, {"minute", "%M"}, {"second", "%S"}};
    std::string format = vrn_expand_template(text, formats);
    vrn_expand_hash_in_template(file, &format);
    return format_time(format, file->first_ts);
}

// The separator of a tag is not wanted at the end of a folder's name.
void drop_separators_of_folders(std::string *text) {
    for (std::size_t at = text->find("_/"); at != std::string::npos; at = text->find("_/", at + 1))
        text->replace(at, 2, "/");
}

// A leading slash of `text` adds nothing: names in it never make a path absolute.
std::string join(const fs::path &root, const std::string &text) {
    std::string joined = root.string();
    if (!joined.ends_with('/') && !text.starts_with('/')) joined += '/';
    return joined + text;
}

std::uint64_t sum_of_bytes(const std::string &text) {
    std::uint64_t sum = 0;
    for (const char character : text) sum += static_cast<unsigned char>(character);
    return sum;
}

std::string expand(const vrn_data_file_t *file, std::string_view path_template) {
    std::string text = vrn_expand_template(std::string(path_template), stream_variables(file));
    if (file->first_ts != 0) text = expand_time(file, text);
    if (!file->id.empty()) text = vrn_expand_template(text, {{"id", file->id}});
    return text;
}

// The folders of a template in front of all names that come from pages, with their last slash, if
// they may lead out of the root. Empty: the root is the folder to stay in.
std::string_view own_folders(std::string_view path_template) {
    const std::size_t name = std::min(path_template.find("{{source}}"),  //
                                      path_template.find("{{tag}}"));
    const std::string_view start = path_template.substr(0, name);
    const std::string_view folders = start.substr(0, start.rfind('/') + 1);
    return folders.find("..") == std::string_view::npos ? "" : folders;
}

// Path of `path`, made normal, below `folder`; empty when it lies outside.
std::string inner_path(const fs::path &folder, const fs::path &path) {
    // By way of a file in it, as a normal path keeps the slash or point at the end of a folder.
    const fs::path normal_folder = (folder / "file").lexically_normal().parent_path();
    const fs::path inner = path.lexically_normal().lexically_relative(normal_folder);
    return inner.empty() || *inner.begin() == ".." ? "" : inner.string();
}

// Number of a GUID such as 0x10; other names give the sum of their bytes.
std::uint64_t source_number(const std::string &source) {
    if (!source.starts_with("0x")) return sum_of_bytes(source);
    unsigned long guid = 0;
    if (std::sscanf(source.c_str(), "0x%lx", &guid) == 1) return guid;
    VRN_LOG(VRN_LOG_ERROR, "Failed to read %s as guid number", source.c_str());
    return sum_of_bytes(source);
}

// 64-bit remainder by `number` widened with its sign; 0 divides to 0. Its low half has a sign too.
std::int32_t hash_of_source(const std::string &source, std::int32_t number) {
    const std::uint64_t value = source_number(source);
    const auto divisor = static_cast<std::uint64_t>(static_cast<std::int64_t>(number));
    return static_cast<std::int32_t>(divisor == 0 ? value : value % divisor);
}

}  // namespace

bool vrn_path_template_is_confined(std::string_view path_template) {
    // Any names will do: what matters is how far the points between them lead.
    const std::string rest(path_template.substr(own_folders(path_template).size()));
    const std::string path =
        vrn_expand_template("/folder/" + rest, {{"source", "x"}, {"tag", "x"}});
    return !inner_path("/folder", path).empty();
}

std::string vrn_data_file_expand_path(const vrn_data_file_t *file) {
    std::string text = expand(file, file->path_template);
    if (file->root_dir.empty()) return text;
    drop_separators_of_folders(&text);
    return join(fs::absolute(file->root_dir), text);
}

void vrn_expand_hash_in_template(const vrn_data_file_t *file, std::string *text) {
    constexpr std::string_view closing = "}}";
    const std::size_t start = text->find("{{hash");
    if (start == std::string::npos) return;
    // The first one only; those that follow stay in the name, braces and all.
    std::int32_t number = 0;
    const bool has_number = std::sscanf(text->c_str() + start, "{{hash%d}}", &number) == 1;
    const std::size_t end = text->find(closing, start);
    if (end == std::string::npos) {
        VRN_LOG(VRN_LOG_ERROR, "path_template expects {{hash[num]}}, missing closing braces");
        return;
    }
    const std::size_t length = end + closing.size() - start;
    if (!has_number) {
        VRN_LOG(VRN_LOG_ERROR,
                "path_template expects {{hash[num]}}, '[num]' - a positive integer, actually "
                "received %.*s",
                static_cast<int>(length), text->c_str() + start);
        return;
    }
    text->replace(start, length, std::to_string(hash_of_source(file->source, number)));
}

bool vrn_data_file_confine_path(const vrn_data_file_t *file, std::string *path) {
    if (file->root_dir.empty()) return true;
    const std::string root = fs::absolute(file->root_dir).string();
    // The common case, without the work on paths.
    if (path->find("..", root.size()) == std::string::npos) return true;
    std::string folders = expand(file, own_folders(file->path_template));
    drop_separators_of_folders(&folders);
    const std::string folder = folders.empty() ? root : join(root, folders);
    const std::string inner = inner_path(folder, *path);
    if (inner.empty()) return false;
    *path = join(folder, inner);
    return true;
}

std::string vrn_data_file_ensure_directory(const std::string &path) {
    const fs::path parent = fs::path(path).parent_path();
    if (parent.empty()) return path;
    // A file in the folder's place is told by the check below, with the message callers print.
    if (!fs::exists(parent)) fs::create_directories(parent);
    if (!fs::is_directory(fs::status(parent)))
        throw std::runtime_error("Inaccessible data path " + parent.string());
    return path;
}
