#include "cli/typed_bytes.h"

#include <cstring>
#include <map>
#include <optional>
#include <sstream>
#include <stdexcept>

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

// A page whose payload is still being typed.
struct OpenPage {
    vrn_page_info_t info{};
    ByteBuilder payload;
};

OpenPage open_page(std::istringstream &words) {
    OpenPage page;
    std::string encoding;
    words >> encoding;
    page.info.encoding = encoding == "gzip" ? VRN_ENCODING_GZIP : VRN_ENCODING_SNAPPY;
    Keys keys = read_keys(words);
    page.info.source = make_source(keys["source"], keys["tag"]);
    page.info.first_timestamp = keys.contains("first") ? std::stoull(keys["first"]) : 0;
    page.info.last_timestamp = keys.contains("last") ? std::stoull(keys["last"]) : 0;
    return page;
}

std::string close_page(const OpenPage &page) {
    const std::string &payload = page.payload.done();
    std::size_t size = 0;
    void *block = vrn_compressed_page_encode(&page.info, payload.data(), payload.size(), &size);
    return take_block(block, size);
}

class Typist {
  public:
    void add(const std::string &line) {
        std::istringstream words(line);
        std::string directive;
        words >> directive;
        if (directive == "page") {
            page_ = open_page(words);
        } else if (directive == "end") {
            bytes_.raw(close_page(page_.value()));
            page_.reset();
        } else {
            add_directive(page_ ? page_->payload : bytes_, line);
        }
    }
    const std::string &done() const { return bytes_.done(); }

  private:
    ByteBuilder bytes_;
    std::optional<OpenPage> page_;
};

}  // namespace

std::string parse_typed_bytes(const std::vector<std::string> &lines) {
    Typist typist;
    for (const std::string &line : lines) {
        if (line.empty() || line.starts_with('#')) continue;
        try {
            typist.add(line);
        } catch (const std::exception &error) {
            throw std::runtime_error("\"" + line + "\": " + error.what());
        }
    }
    return typist.done();
}

}  // namespace vrn::test
