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

void set_id(vrn_schema_id_t *id, const std::string &hex) {
    if (!vrn_schema_id_from_hex(hex.c_str(), id)) throw std::runtime_error("bad id " + hex);
}

void set_event_ids(vrn_data_file_header_t *header, const std::string &list) {
    std::istringstream ids(list);
    std::size_t place = 0;
    for (std::string hex; std::getline(ids, hex, ',');)
        set_id(&header->event_schema_ids[place++], hex);
}

// The low bytes of `number`, as many as the field has.
template <typename T>
void set_number(T &field, std::uint64_t number) {
    std::memcpy(&field, &number, sizeof field);
}

void set_header_key(vrn_data_file_header_t *header, const std::string &key,
                    const std::string &value) {
    if (key == "magic") return set_text(header->magic, value);
    if (key == "magic_end") return set_text(header->magic_end, value);
    if (key == "source") return set_text(header->source_id, value);
    if (key == "tag") return set_text(header->source_tag, value);
    if (key == "events") return set_event_ids(header, value);
    if (key == "counters") return set_id(&header->counters_schema_id, value);
    if (key == "version") return set_number(header->version, vrn_version_parse(value.c_str()));
    const std::uint64_t number = std::stoull(value);
    if (key == "file_size") return set_number(header->file_size, number);
    if (key == "first") return set_number(header->first_timestamp, number);
    if (key == "last") return set_number(header->last_timestamp, number);
    if (key == "block_size") return set_number(header->block_size, number);
    if (key == "byte_order") return set_number(header->byte_order, number);
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

void add_string(ByteBuilder &bytes, const std::string &text) {
    bytes.u8(static_cast<std::uint8_t>(text.size())).text(text);
}

void repeat(ByteBuilder &bytes, std::size_t count, const std::string &line);

void add_directive(ByteBuilder &bytes, const std::string &line) {
    const auto natural = [](const std::string &word) { return std::stoull(word, nullptr, 0); };
    const auto integer = [](const std::string &word) { return std::stoll(word, nullptr, 0); };
    const auto real = [](const std::string &word) { return std::stod(word); };
    const auto hex = [](const std::string &word) { return std::stoul(word, nullptr, 16); };

    std::istringstream words(line);
    std::string directive;
    words >> directive;
    if (directive == "header") return void(bytes.text(build_header(read_keys(words))));
    if (directive == "text") return void(bytes.text(rest_of(words)));
    if (directive == "string") return add_string(bytes, rest_of(words));
    if (directive == "hex") return add_numbers<std::uint8_t>(bytes, words, hex);
    if (directive == "u8") return add_numbers<std::uint8_t>(bytes, words, natural);
    if (directive == "u16") return add_numbers<std::uint16_t>(bytes, words, natural);
    if (directive == "u32") return add_numbers<std::uint32_t>(bytes, words, natural);
    if (directive == "u64") return add_numbers<std::uint64_t>(bytes, words, natural);
    if (directive == "i64") return add_numbers<std::int64_t>(bytes, words, integer);
    if (directive == "f32") return add_numbers<float>(bytes, words, real);
    if (directive == "f64") return add_numbers<double>(bytes, words, real);
    std::size_t count = 0;
    words >> count;
    if (directive == "field") return void(bytes.field(rest_of(words), count));
    if (directive == "zeros") return void(bytes.zeros(count));
    if (directive == "pad") return void(bytes.pad_to(count));
    if (directive == "repeat") return repeat(bytes, count, rest_of(words));
    throw std::runtime_error("unknown directive " + directive);
}

void repeat(ByteBuilder &bytes, std::size_t count, const std::string &line) {
    for (std::size_t i = 0; i < count; ++i) add_directive(bytes, line);
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
        std::size_t start = 0;
        for (std::size_t end = 0; end != std::string::npos; start = end + 2) {
            end = line.find("; ", start);
            add_item(line.substr(start, end == std::string::npos ? end : end - start));
        }
    }
    const std::string &done() const { return bytes_.done(); }

  private:
    void add_item(const std::string &item) {
        std::istringstream words(item);
        std::string directive;
        words >> directive;
        if (directive == "page") {
            page_ = open_page(words);
        } else if (directive == "end") {
            bytes_.raw(close_page(page_.value()));
            page_.reset();
        } else {
            add_directive(page_ ? page_->payload : bytes_, item);
        }
    }

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
