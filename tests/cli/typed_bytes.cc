#include "cli/typed_bytes.h"

#include <cstring>
#include <map>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "data/data_file_header.h"
#include "data/version.h"
#include "support/byte_builder.h"
#include "support/page_blocks.h"

namespace vrn::test {
namespace {

using Keys = std::map<std::string, std::string>;

Keys read_keys(std::istringstream &words) {
    Keys keys;
    for (std::string word; words >> word;) {
        const std::size_t equals = word.find('=');
        if (equals == std::string::npos) throw std::runtime_error("no key=value: " + word);
        keys[word.substr(0, equals)] = word.substr(equals + 1);
    }
    return keys;
}

template <std::size_t N>
void set_text(char (&field)[N], const std::string &text) {
    std::memcpy(field, text.data(), std::min(N, text.size()));
}

vrn_schema_id_t read_id(const std::string &hex) {
    vrn_schema_id_t id{};
    if (!vrn_schema_id_from_hex(hex.c_str(), &id)) throw std::runtime_error("bad id " + hex);
    return id;
}

void set_event_ids(vrn_data_file_header_t *header, const std::string &list) {
    std::istringstream ids(list);
    std::size_t place = 0;
    for (std::string hex; std::getline(ids, hex, ','); ++place)
        header->event_schema_ids[place] = read_id(hex);
}

void set_header_key(vrn_data_file_header_t *header, const std::string &key,
                    const std::string &value) {
    if (key == "magic")
        set_text(header->magic, value);
    else if (key == "magic_end")
        set_text(header->magic_end, value);
    else if (key == "version") {
        const std::uint32_t packed = vrn_version_parse(value.c_str());
        std::memcpy(&header->version, &packed, sizeof packed);
    } else if (key == "file_size")
        header->file_size = std::stoull(value);
    else if (key == "source")
        set_text(header->source_id, value);
    else if (key == "tag")
        set_text(header->source_tag, value);
    else if (key == "first")
        header->first_timestamp = std::stoull(value);
    else if (key == "last")
        header->last_timestamp = std::stoull(value);
    else if (key == "block_size")
        header->block_size = static_cast<std::uint32_t>(std::stoul(value));
    else if (key == "counters")
        header->counters_schema_id = read_id(value);
    else if (key == "events")
        set_event_ids(header, value);
    else if (key == "byte_order")
        header->byte_order = static_cast<std::uint8_t>(std::stoul(value));
    else
        throw std::runtime_error("unknown header key " + key);
}

std::string build_header(const Keys &keys) {
    const vrn_data_file_header_ptr header(vrn_data_file_header_create());
    for (const auto &[key, value] : keys) set_header_key(header.get(), key, value);
    return {reinterpret_cast<const char *>(header.get()), sizeof *header};
}

template <typename Number, typename Parse>
void add_numbers(ByteBuilder &bytes, std::istringstream &words, Parse parse) {
    for (std::string word; words >> word;) {
        const auto value = static_cast<Number>(parse(word));
        bytes.raw(&value, sizeof value);
    }
}

std::string rest_of(std::istringstream &words) {
    std::string rest;
    std::getline(words >> std::ws, rest);
    return rest;
}

void add_directive(ByteBuilder &bytes, const std::string &line) {
    const auto natural = [](const std::string &word) { return std::stoull(word, nullptr, 0); };
    const auto integer = [](const std::string &word) { return std::stoll(word, nullptr, 0); };
    const auto real = [](const std::string &word) { return std::stod(word); };
    const auto hex = [](const std::string &word) { return std::stoul(word, nullptr, 16); };

    std::istringstream words(line);
    std::string directive;
    std::size_t count = 0;
    words >> directive;
    if (directive == "header") {
        bytes.text(build_header(read_keys(words)));
    } else if (directive == "text") {
        bytes.text(rest_of(words));
    } else if (directive == "field") {
        words >> count;
        bytes.field(rest_of(words), count);
    } else if (directive == "zeros") {
        words >> count;
        bytes.zeros(count);
    } else if (directive == "pad") {
        words >> count;
        bytes.pad_to(count);
    } else if (directive == "repeat") {
        words >> count;
        const std::string repeated = rest_of(words);
        for (std::size_t i = 0; i < count; ++i) add_directive(bytes, repeated);
    } else if (directive == "hex") {
        add_numbers<std::uint8_t>(bytes, words, hex);
    } else if (directive == "u8") {
        add_numbers<std::uint8_t>(bytes, words, natural);
    } else if (directive == "u16") {
        add_numbers<std::uint16_t>(bytes, words, natural);
    } else if (directive == "u32") {
        add_numbers<std::uint32_t>(bytes, words, natural);
    } else if (directive == "u64") {
        add_numbers<std::uint64_t>(bytes, words, natural);
    } else if (directive == "i64") {
        add_numbers<std::int64_t>(bytes, words, integer);
    } else if (directive == "f32") {
        add_numbers<float>(bytes, words, real);
    } else if (directive == "f64") {
        add_numbers<double>(bytes, words, real);
    } else {
        throw std::runtime_error("unknown directive " + directive);
    }
}

// The page that `line` opens, around `payload`.
std::string build_page(const std::string &line, const std::string &payload) {
    std::istringstream words(line);
    std::string directive;
    char encoding = 0;
    words >> directive >> encoding;
    Keys keys = read_keys(words);
    keys.try_emplace("first", "0");
    keys.try_emplace("last", "0");
    const vrn_page_info_t info = {make_source(keys["source"], keys["tag"]),
                                  std::stoull(keys["first"]), std::stoull(keys["last"]),
                                  static_cast<vrn_page_encoding_t>(encoding)};
    std::size_t size = 0;
    void *block = vrn_compressed_page_encode(&info, payload.data(), payload.size(), &size);
    return take_block(block, size);
}

}  // namespace

std::string parse_typed_bytes(const std::vector<std::string> &lines) {
    ByteBuilder file;
    ByteBuilder payload;
    std::string page;  // the line of the page that is open, or empty
    for (const std::string &line : lines) {
        if (line.empty() || line.starts_with('#')) continue;
        try {
            if (line.starts_with("page ")) {
                page = line;
            } else if (line == "end-page") {
                file.text(build_page(std::exchange(page, {}), payload.done()));
                payload = {};
            } else {
                add_directive(page.empty() ? file : payload, line);
            }
        } catch (const std::exception &error) {
            throw std::runtime_error("\"" + line + "\": " + error.what());
        }
    }
    return file.done();
}

}  // namespace vrn::test
