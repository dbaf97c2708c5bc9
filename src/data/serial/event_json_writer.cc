#include "data/serial/event_json_writer.h"

#include "data/serial/event_json.h"
#include "data/text/json_scalar.h"
#include "data/text/json_value.h"
#include "utils/byte_reader.h"
#include "utils/log.h"
#include "utils/rollback.h"
#include "utils/with_memory.h"

namespace vrn {
namespace {

// Integers are cut from a word, whatever their width.
std::int64_t load_signed(const std::uint8_t *from, unsigned spare_bits) {
    return static_cast<std::int64_t>(load_le<std::uint64_t>(from) << spare_bits) >> spare_bits;
}

void log_refused(const vrn_type_field_definition_t &field) {
    VRN_LOG(VRN_LOG_ERROR, "Failed to serialize field %s of type %s[%u] as string",
            field.field_name, field.type_name, field.array_length);
}

}  // namespace

// Walks a type as its records are shown, and leaves the values out.
class EventJsonWriter::Preparation {
  public:
    // `text` takes a record whose values are empty.
    Preparation(EventJsonWriter &owner, JsonText &text)
        : owner_(owner), text_(text), converts_guids_(vrn_event_converts_guids()) {}

    void run() {
        if (add_record(owner_.type_, 0)) add({.kind = Kind::end});
    }

  private:
    // False when no step can follow.
    [[nodiscard]] bool add_record(const vrn_type_definition_t &type, std::uint64_t offset) {
        owner_.needs_tree_ = type.has_repeated_names;
        if (owner_.needs_tree_) return false;
        text_.begin_object();
        for (std::uint16_t i = 0; i < type.num_fields; ++i)
            if (!add_member(*type.fields[i], offset + type.fields[i]->offset)) return false;
        text_.end_object();
        return true;
    }

    [[nodiscard]] bool add_member(const vrn_type_field_definition_t &field, std::uint64_t offset) {
        // Without a type nobody checked the offset.
        if (!field.type || !field.json_name.key) return add({.kind = Kind::unusable}), true;
        text_.key(field.json_name);
        // Whatever the type: 8 bytes are read.
        if (converts_guids_ && field.json_name.is_guid_word)
            return add({.kind = Kind::hex, .offset = offset}), true;
        if (field.array_length == 1) return add_element(field, offset);
        if (is_text(*field.type))
            return add({.kind = Kind::text, .count = field.array_length, .offset = offset}, &field),
                   true;
        return add_array(field, offset);
    }

    [[nodiscard]] bool add_array(const vrn_type_field_definition_t &field, std::uint64_t offset) {
        text_.begin_array();
        if (field.array_length > 0) {
            text_.element();
            add({.kind = Kind::repeat, .count = field.array_length, .offset = offset}, &field);
            if (!add_element(field, 0)) return false;
            const std::size_t end = text_.size();
            text_.element();
            add({.kind = Kind::next, .count = static_cast<std::uint16_t>(text_.size() - end)});
        }
        text_.end_array();
        return true;
    }

    [[nodiscard]] bool add_element(const vrn_type_field_definition_t &field, std::uint64_t offset) {
        if (field.form == VRN_VALUE_RECORD) return add_record(*field.type, offset);
        add({.kind = kind_of(field.form),
             .spare_bits = field.spare_bits,
             .offset = offset,
             .value_bits = ~std::uint64_t{0} >> field.spare_bits});
        return true;
    }

    static Kind kind_of(vrn_value_form_t form) {
        switch (form) {
            case VRN_VALUE_UNSIGNED:
                return Kind::unsigned_number;
            case VRN_VALUE_SIGNED:
                return Kind::signed_number;
            case VRN_VALUE_FLOAT:
                return Kind::float_number;
            case VRN_VALUE_DOUBLE:
                return Kind::double_number;
            case VRN_VALUE_HEX:
                return Kind::hex;
            default:
                return Kind::unusable;
        }
    }

    static bool is_text(const vrn_type_definition_t &type) {
        return type.builtin_id == VRN_BUILTIN_CHAR || type.builtin_id == VRN_BUILTIN_UCHAR;
    }

    void add(Step step, const vrn_type_field_definition_t *field = nullptr) {
        step.piece_size = text_.size() - done_;
        done_ = text_.size();
        owner_.steps_.push_back(step);
        owner_.fields_.push_back(field);
        owner_.max_size_ += step.piece_size + max_value_size(step);
    }

    static std::size_t max_value_size(const Step &step) {
        return step.kind == Kind::text ? printable_json_room(step.count) : JSON_SCALAR_ROOM;
    }

    EventJsonWriter &owner_;
    JsonText &text_;
    std::size_t done_ = 0;  // bytes of it that are in steps
    const bool converts_guids_;
};

EventJsonWriter::EventJsonWriter(const vrn_type_definition_t &type, JsonText &text)
    : type_(type), text_(text) {
    pieces_ = text.piece(0, [this](JsonText &record) { Preparation(*this, record).run(); });
    pieces_.append(JsonText::piece_slack, '\0');
}

bool EventJsonWriter::write(const void *record) {
    if (needs_tree_) return write_tree(record);
    Rollback added([this, start = text_.size()] { text_.cut(start); });
    char *end = write_steps(static_cast<const std::uint8_t *>(record));
    if (!end) return false;
    text_.advance_to(end);
    added.keep();
    return true;
}

// Returns the end of the text; null when a value can't be expressed.
char *EventJsonWriter::write_steps(const std::uint8_t *record) {
    const auto field_of = [this](const Step &step) { return fields_[&step - steps_.data()]; };
    loops_.clear();
    char *out = text_.reserve(max_size_);
    const char *piece = pieces_.data();
    const auto begin_value = [&](const Step &step) {
        out = JsonText::copy_in_steps(out, piece, step.piece_size);
        piece += step.piece_size;
        return record + step.offset;
    };
    for (const Step *step = steps_.data();; ++step) {
        const std::uint8_t *value = begin_value(*step);
        switch (step->kind) {
            case Kind::unsigned_number:
                // Most fields, and most often several in a row.
                for (;; value = begin_value(*++step)) {
                    out = write_json_number(out, load_le<std::uint64_t>(value) & step->value_bits);
                    if (step[1].kind != Kind::unsigned_number) break;
                }
                break;
            case Kind::signed_number:
                out = write_json_number(out, load_signed(value, step->spare_bits));
                break;
            case Kind::float_number:
                out = write_json_number(out, static_cast<double>(load_le<float>(value)));
                break;
            case Kind::double_number:
                out = write_json_number(out, load_le<double>(value));
                break;
            case Kind::hex:
                out = write_json_hex(out, load_le<std::uint64_t>(value));
                break;
            case Kind::text:
                out = write_printable_json(out, {value, step->count});
                if (!out) log_refused(*field_of(*step));
                break;
            case Kind::repeat:
                loops_.push_back({step, piece, record, step->count - 1U});
                record = value;
                break;
            case Kind::next:
                if (loops_.back().left-- == 0) {
                    out -= step->count;
                    record = loops_.back().outer;
                    loops_.pop_back();
                    break;
                }
                step = loops_.back().first;
                piece = loops_.back().piece;
                record += field_of(*step)->type_size;
                text_.advance_to(out);
                out = text_.reserve(max_size_);
                break;
            case Kind::end:
                return out;
            case Kind::unusable:
                return nullptr;
        }
        if (!out) return nullptr;
    }
}

bool EventJsonWriter::write_tree(const void *record) {
    return with_memory([&] {
        const vrn_json_value_ptr value(vrn_event_to_json(&type_, record));
        return value && text_.tree(value.get());
    });
}

}  // namespace vrn
