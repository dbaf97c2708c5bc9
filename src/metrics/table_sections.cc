#include "metrics/table_sections.h"

#include <algorithm>
#include <stdexcept>

#include "metrics/section_mark.h"
#include "utils/log.h"

namespace vrn::metrics {
namespace {

// `which` end of the section is missing: "prefix" or "suffix".
[[noreturn]] void fail_missing(std::string_view mark, const char *which) {
    VRN_LOG(VRN_LOG_ERROR, "[vrn metrics parser] Invalid binary data format: Missing '%.*s' %s",
            static_cast<int>(mark.size()), mark.data(), which);
    throw std::runtime_error(std::string("Invalid binary data format: Missing ") + which);
}

// Finds the first "LBLN" section of `range`; `rest` receives the bytes that follow it. False, with
// nothing changed, when there is none.
bool read_label_set(Bytes range, LabelSetView *set, Bytes *rest) {
    const Bytes hit = find_mark(range, "LBLN");
    if (hit.empty()) return false;
    ByteReader reader(hit.subspan(MARK_SIZE));
    std::uint8_t count = 0;
    bool is_whole = reader.read(&count);
    const Bytes names = hit.last(reader.remaining());
    std::string_view name;
    for (std::size_t i = 0; is_whole && i < count; ++i) is_whole = read_string(reader, &name);
    const std::size_t names_size = names.size() - reader.remaining();
    // Deliberate: the four bytes of the suffix are passed over without a look.
    if (!is_whole || !reader.skip(MARK_SIZE))
        throw std::runtime_error("Invalid binary data format: Truncated 'LBLN' section");
    *set = {count, names.first(names_size)};
    *rest = hit.last(reader.remaining());
    return true;
}

}  // namespace

std::vector<std::string> names_of(const LabelSetView &set) {
    std::vector<std::string> names;
    names.reserve(set.count);
    ByteReader reader(set.names);
    for (std::string_view name; read_string(reader, &name);) names.emplace_back(name);
    return names;
}

bool read_string(ByteReader &reader, std::string_view *string) {
    ByteReader ahead = reader;
    std::uint8_t length = 0;
    if (!ahead.read(&length) || !ahead.text(length, string)) return false;
    reader = ahead;
    return true;
}

Bytes read_label_sets(Bytes range, std::vector<LabelSetView> *sets) {
    sets->clear();
    // Deliberate: a block without label sets goes on after its own mark.
    Bytes rest = range.subspan(std::min(MARK_SIZE, range.size()));
    LabelSetView set;
    for (Bytes from = range; read_label_set(from, &set, &rest); from = rest) sets->push_back(set);
    return rest;
}

Bytes read_string_section(Bytes range, std::string_view prefix, std::string_view suffix,
                          std::vector<std::string_view> *strings) {
    const Bytes hit = find_mark(range, prefix);
    if (hit.empty()) {
        strings->clear();
        return hit;
    }
    ByteReader reader(hit.subspan(prefix.size()));
    std::uint16_t count = 0;
    if (!reader.read(&count)) fail_missing(prefix, "prefix");
    // Each string takes a byte at least. So the table grows no larger than the block, whatever the
    // count.
    if (count > reader.remaining()) fail_missing(suffix, "suffix");
    strings->resize(count);
    for (std::string_view &string : *strings)
        if (!read_string(reader, &string)) fail_missing(suffix, "suffix");
    // Deliberate: the suffix is a mark for readers of the bytes. Any four bytes pass for it, and it
    // is only missed where the range ends before it.
    if (!reader.skip(suffix.size())) fail_missing(suffix, "suffix");
    return hit.last(reader.remaining());
}

}  // namespace vrn::metrics
