#include "counters/counters_json_writer.h"

#include <cinttypes>
#include <cstring>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "counters/counter_data.h"
#include "counters/counters_row_walk.h"
#include "counters/metadata_enrich.h"
#include "data/text/json_value.h"
#include "utils/log.h"
#include "utils/rollback.h"
#include "utils/with_memory.h"

namespace vrn {
namespace {

// Bytes of labels in a row, repeats included: far above any use. A small document could ask for
// endless output, as each counter set repeats the labels of all its counters.
constexpr std::uint64_t max_label_bytes = 256 << 20;

// Of a group's members in a row: the row's object, its groups, the group.
constexpr std::size_t group_depth = 3;
// Of a counter: its sets and the set, too.
constexpr std::size_t counter_depth = group_depth + 2;

std::uint64_t label_bytes_of(const vrn_metadata_entry_t *entry) {
    std::uint64_t bytes = 0;
    for (std::int32_t i = 0; entry && i < entry->num_labels; ++i)
        bytes += std::strlen(entry->labels[i].key) + std::strlen(entry->labels[i].value);
    return bytes;
}

// {"name": [value, labels]}, the value left out. Returns the place where it belongs.
std::size_t write_enriched(const char *name, const vrn_metadata_entry_t *entry, JsonText &text) {
    text.element();
    text.begin_object();
    text.key(entry ? entry->short_name : name);
    text.begin_array();
    text.element();
    const std::size_t place = text.size();
    text.element();
    text.begin_object();
    for (std::int32_t i = 0; entry && i < entry->num_labels; ++i)
        text.member(entry->labels[i].key, entry->labels[i].value);
    text.end_object();
    text.end_array();
    text.end_object();
    return place;
}

}  // namespace

// Makes what the rows of a writer have in common.
class CountersJsonWriter::Preparation {
  public:
    explicit Preparation(CountersJsonWriter &owner)
        : owner_(owner), convert_guids_(counters_convert_guids()) {
        if (!owner.metadata_) return;
        // The first of two entries with the same name counts.
        for (std::int32_t i = 0; i < owner.metadata_->num_entries; ++i)
            entries_.emplace(owner.metadata_->entries[i].full_name, &owner.metadata_->entries[i]);
    }

    bool has_bounded_labels() const {
        std::uint64_t bytes = 0;
        const vrn_counters_schema_t &schema = owner_.schema_;
        for (std::uint32_t i = 0; i < schema.num_groups && bytes <= max_label_bytes; ++i)
            bytes +=
                std::uint64_t{schema.groups[i]->num_counter_sets} * labels_of(*schema.groups[i]);
        return bytes <= max_label_bytes;
    }

    // Stops at a counter that only a tree can show.
    void add_group(const vrn_counter_group_t &from) {
        std::unordered_set<std::string_view> names;
        Group &group = owner_.groups_.emplace_back();
        const std::string members = owner_.text_.piece(group_depth, [&](JsonText &piece) {
            add_group_members(from, piece);
            piece.key(counter_sets_key);
        });
        group.members = members.substr(1) + std::string(JsonText::piece_slack, '\0');
        std::string end;
        for (std::uint32_t i = 0; i < from.num_counters; ++i) {
            const vrn_counter_info_t &counter = *from.counters[i];
            // parson sets no member without a name.
            owner_.needs_tree_ = !counter.name || !names.insert(counter.name).second;
            if (owner_.needs_tree_) return;
            add_counter(counter, &group, &end);
        }
        const auto end_size = static_cast<std::uint32_t>(end.size());
        group.details.push_back({.form = {}, .end_size = end_size});
        group.pieces += end;
        group.max_size = group.pieces.size() + from.num_counters * JSON_SCALAR_ROOM;
        group.pieces.append(JsonText::piece_slack, '\0');
    }

  private:
    const vrn_metadata_entry_t *entry_of(const char *name) const {
        if (!name) return nullptr;
        const auto found = entries_.find(name);
        return found == entries_.end() ? nullptr : found->second;
    }

    // Bytes of labels in one set of the group, up to just above the bound.
    std::uint64_t labels_of(const vrn_counter_group_t &group) const {
        std::uint64_t bytes = 0;
        for (std::uint32_t i = 0; i < group.num_counters && bytes <= max_label_bytes; ++i)
            bytes += label_bytes_of(entry_of(group.counters[i]->name));
        return bytes;
    }

    // `end`: what follows the value before, then what follows this one.
    void add_counter(const vrn_counter_info_t &counter, Group *group, std::string *end) {
        const CounterJsonForm form = counter_json_form(counter, convert_guids_);
        std::size_t place = 0;
        const std::string text = owner_.text_.piece(counter_depth, [&](JsonText &piece) {
            if (owner_.metadata_)
                place = write_enriched(counter.name, entry_of(counter.name), piece);
            else
                piece.key(counter.name);
        });
        if (!owner_.metadata_) place = text.size();
        group->pieces.append(*end).append(text, 0, place);
        group->counters.push_back({.offset = counter.offset,
                                   .piece_size = static_cast<std::uint32_t>(end->size() + place),
                                   .shape = shape_of(counter, form)});
        group->details.push_back(
            {.form = form, .end_size = static_cast<std::uint32_t>(end->size())});
        *end = text.substr(place);
    }

    static Shape shape_of(const vrn_counter_info_t &counter, const CounterJsonForm &form) {
        if (form.kind != CounterJsonForm::number) return Shape::other;
        if (counter.data_type == VRN_DATA_FP64) return Shape::double_number;
        return counter.data_type == VRN_DATA_INT64 ? Shape::int64_number : Shape::uint64_number;
    }

    CountersJsonWriter &owner_;
    const bool convert_guids_;
    std::unordered_map<std::string_view, const vrn_metadata_entry_t *> entries_;
};

// See counters_row_walk.h.
class CountersJsonWriter::Sink {
  public:
    Sink(CountersJsonWriter &owner, const CounterRow &row, bool microseconds)
        : owner_(owner), text_(owner.text_), row_(row), microseconds_(microseconds) {}

    void time(std::uint64_t timestamp) {
        text_.plain_key("timestamp");
        text_.number(timestamp);
        const std::string_view time = owner_.time_.of(timestamp, microseconds_);
        if (time.empty()) return;
        text_.plain_key("@timestamp");
        static_cast<void>(text_.string(time));  // digits are UTF-8
    }
    bool begin_groups() {
        text_.plain_key("groups");
        text_.begin_array();
        return true;
    }
    void end_groups() { text_.end_array(); }
    bool begin_group(std::size_t index, const vrn_counter_group_t &) {
        group_ = &owner_.groups_[index];
        text_.element();
        text_.begin_object();
        const std::string_view members = group_->members;
        const std::size_t size = members.size() - JsonText::piece_slack;
        text_.advance_to(JsonText::copy_in_steps(text_.reserve(size), members.data(), size));
        text_.begin_array();
        return true;
    }
    void end_group() {
        text_.end_array();
        text_.end_object();
    }
    bool set(const vrn_counter_group_t &group) {
        text_.element();
        if (owner_.metadata_) {
            text_.begin_array();
            write_values(group);
            text_.end_array();
        } else {
            text_.begin_object();
            write_values(group);
            text_.end_object();
        }
        return true;
    }

  private:
    void write_values(const vrn_counter_group_t &group) {
        char *out = text_.reserve(group_->max_size);
        const char *piece = group_->pieces.data();
        const char *from = piece + 1;  // what goes before the value; not its comma at first
        const CounterRow row = row_;
        for (const Counter &counter : group_->counters) {
            piece += counter.piece_size;
            char *end = JsonText::copy_in_steps(out, from, static_cast<std::size_t>(piece - from));
            if (counter.shape == Shape::uint64_number) {
                end = write_json_number(end, row.read<std::uint64_t>(counter.offset));
            } else {
                const Written written = write_slowly(group, index_of(counter), {out, end});
                out = written.start;
                end = written.end;
            }
            if (end) {
                out = end;
                from = piece;
            } else {
                out = leave_out(index_of(counter), piece, out, &from);
            }
        }
        end_values(from, out);
    }

    std::size_t index_of(const Counter &counter) const {
        return static_cast<std::size_t>(&counter - group_->counters.data());
    }

    // A piece and the value after it. The end is null when JSON can't hold the value.
    struct Written {
        char *start;
        char *end;
    };

    // Appends the value at the end of a piece. Kept out of the loop, which is for integers.
    __attribute__((noinline)) Written write_slowly(const vrn_counter_group_t &group,
                                                   std::size_t index, const Written &piece) {
        const Counter &counter = group_->counters[index];
        switch (counter.shape) {
            case Shape::int64_number:
                return {piece.start,
                        write_json_number(piece.end, row_.read<std::int64_t>(counter.offset))};
            case Shape::double_number:
                return {piece.start,
                        write_json_number(piece.end, row_.read<double>(counter.offset))};
            default:
                return write_other(group, index, piece);
        }
    }

    // The buffer may move.
    Written write_other(const vrn_counter_group_t &group, std::size_t index, const Written &piece) {
        text_.advance_to(piece.start);
        const std::size_t size = text_.size();
        text_.advance_to(piece.end);
        const bool done =
            write_counter_json(*group.counters[index], group_->details[index].form, row_, text_);
        if (!done) text_.cut(size);
        char *const end = text_.reserve(group_->max_size);
        return {end, done ? end : nullptr};
    }

    // JSON can't hold the value whose piece begins at `*from` and ends at `piece`. The value before
    // it still has to end, unless that was left out, too, and what would end this one must not be
    // written: `*from` becomes the place after that.
    char *leave_out(std::size_t index, const char *piece, char *out, const char **from) {
        const char *const begin = piece - group_->counters[index].piece_size;
        const Detail *detail = &group_->details[index];
        const bool is_first = *from > begin + detail->end_size;
        if (*from == begin) out = JsonText::copy_in_steps(out, begin, detail->end_size);
        *from = piece + detail[1].end_size + (is_first ? 1 : 0);
        return out;
    }

    void end_values(const char *from, char *out) {
        const std::string_view pieces = group_->pieces;
        const char *const end = pieces.data() + pieces.size() - JsonText::piece_slack;
        if (from > end) return;  // there are none
        text_.filled_to(JsonText::copy_in_steps(out, from, static_cast<std::size_t>(end - from)));
    }

    CountersJsonWriter &owner_;
    JsonText &text_;
    const CounterRow &row_;
    bool microseconds_;
    const Group *group_ = nullptr;
};

CountersJsonWriter::CountersJsonWriter(const vrn_counters_schema_t &schema,
                                       const vrn_metadata_t *metadata, JsonText &text)
    : schema_(schema), metadata_(metadata), text_(text) {
    Preparation preparation(*this);
    is_refused_ = !preparation.has_bounded_labels();
    for (std::uint32_t i = 0; i < schema.num_groups && !is_refused_ && !needs_tree_; ++i)
        preparation.add_group(*schema.groups[i]);
}

bool CountersJsonWriter::write(std::uint64_t timestamp, Bytes values, bool microseconds) {
    if (is_refused_) {
        VRN_LOG(VRN_LOG_ERROR, "Metadata labels take more than %" PRIu64 " bytes of each row",
                max_label_bytes);
        return false;
    }
    Rollback added([this, start = text_.mark()] { text_.rewind(start); });
    const bool done = write_members(timestamp, values, microseconds);
    if (done) added.keep();
    return done;
}

bool CountersJsonWriter::write_members(std::uint64_t timestamp, Bytes values, bool microseconds) {
    if (needs_tree_) return write_tree(timestamp, values, microseconds);
    const CounterRow row(values);
    Sink sink(*this, row, microseconds);
    text_.begin_object();
    const bool done = walk_counters_row(timestamp, schema_, sink);
    text_.end_object();
    return done;
}

bool CountersJsonWriter::write_tree(std::uint64_t timestamp, Bytes values, bool microseconds) {
    return with_memory([&] {
        const vrn_json_value_ptr value(
            vrn_counters_row_to_json(timestamp, values, &schema_, microseconds));
        return value && text_.tree(vrn_metadata_enrich(value.get(), metadata_));
    });
}

}  // namespace vrn
