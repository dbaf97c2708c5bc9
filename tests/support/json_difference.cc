#include "support/json_difference.h"

#include "counters/counter_data.h"
#include "counters/counters_text.h"
#include "data/serial/event_json.h"
#include "data/serial/event_text.h"
#include "support/printed_difference.h"
#include "support/random_rows.h"

namespace vrn::test {
namespace {

// Of one random row; `rows` writes to `text`.
std::string row_difference(RandomSource &source, const RandomCounters &counters, JsonLayout layout,
                           JsonText *text, CountersText *rows) {
    const std::string values = random_record(source, source.below(100));
    const Bytes view(reinterpret_cast<const std::uint8_t *>(values.data()), values.size());
    const std::uint64_t timestamp =
        source.one_in(4) ? source.word() : 1'700'000'000'000'000 + source.below(3'000'000);
    const bool microseconds = source.one_in(2);
    const std::string tree = printed_tree(
        vrn_counters_row_to_json(timestamp, view, counters.schema(), microseconds), layout);
    return difference(tree,
                      written(*text, [&] { return rows->write(timestamp, view, microseconds); }));
}

}  // namespace

std::string event_difference(std::string_view bytes) {
    RandomSource source(bytes);
    const RandomTypes types(source);
    const vrn_type_definition_t *type = types.last();
    if (!type) return "";
    const std::string record = random_record(source, type->size);
    std::string all;
    for (const JsonLayout layout : {JsonLayout::compact, JsonLayout::pretty}) {
        JsonText text(layout);
        const auto write = [&] { return vrn_event_write_json(type, record.data(), &text); };
        all += difference(printed_tree(vrn_event_to_json(type, record.data()), layout),
                          written(text, write));
    }
    return all;
}

std::string counters_difference(std::string_view bytes) {
    RandomSource source(bytes);
    const RandomCounters counters(source);
    std::string all;
    for (const JsonLayout layout : {JsonLayout::compact, JsonLayout::pretty}) {
        JsonText text(layout);
        CountersText rows(*counters.schema(), text);
        for (int i = 0; i < 3; ++i) all += row_difference(source, counters, layout, &text, &rows);
    }
    return all;
}

}  // namespace vrn::test
