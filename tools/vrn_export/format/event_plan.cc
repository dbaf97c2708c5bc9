#include "vrn_export/format/event_plan.h"

#include <cstring>
#include <string_view>
#include <unordered_map>

#include "data/schema/builtin_types.h"
#include "data/serial/event_json.h"
#include "data/text/string_format.h"

namespace vrn::exporter {
namespace {

// Types may hold each other, so that a short schema names fields without end.
constexpr std::size_t max_nodes = 1 << 18;

bool is_scalar_of(const vrn_type_field_definition_t &field, vrn_value_form_t form,
                  std::size_t size) {
    return field.type && field.array_length == 1 && field.form == form && field.type->size == size;
}

// The field called "timestamp", or else the first of the built-in type.
std::optional<std::uint64_t> find_time(const vrn_type_definition_t &type) {
    std::optional<std::uint64_t> found;
    for (std::uint16_t i = 0; i < type.num_fields; ++i) {
        const vrn_type_field_definition_t &field = *type.fields[i];
        if (!is_scalar_of(field, VRN_VALUE_UNSIGNED, sizeof(std::uint64_t))) continue;
        if (field.field_name && std::strcmp(field.field_name, "timestamp") == 0)
            return field.offset;
        if (!found && field.type->builtin_id == VRN_BUILTIN_TIMESTAMP) found = field.offset;
    }
    return found;
}

class TreeBuilder {
  public:
    explicit TreeBuilder(const RecordSelection &selection)
        : selection_(selection), converts_guids_(vrn_event_converts_guids()) {}

    bool is_too_wide() const { return is_too_wide_; }

    // `path` leads to the record; `is_taken`: a field that holds it was selected by its path.
    std::vector<FieldNode> fields_of(const vrn_type_definition_t &type, const std::string &path,
                                     bool is_taken) {
        // The set's sections are about the rows' own types, and nested ones only if it names them.
        const bool is_top = path.empty();
        std::vector<FieldNode> nodes;
        for (const vrn_type_field_definition_t *field : distinct_fields(type)) {
            if (!field->type || !field->field_name || ++num_nodes_ > max_nodes) {
                is_too_wide_ = true;
                break;
            }
            if (!selection_.set_takes_field(type, field->field_name, is_top)) continue;
            add_field(*field, is_top ? field->field_name : path + "." + field->field_name, is_taken,
                      &nodes);
            if (is_too_wide_) break;
        }
        return nodes;
    }

  private:
    using Fields = std::vector<const vrn_type_field_definition_t *>;

    static Fields distinct_fields(const vrn_type_definition_t &type) {
        Fields fields(type.fields, type.fields + type.num_fields);
        if (!type.has_repeated_names) return fields;
        Fields distinct;
        std::unordered_map<std::string_view, std::size_t> places;
        for (const vrn_type_field_definition_t *field : fields) {
            const std::string_view name = field->field_name ? field->field_name : "";
            const auto [place, is_new] = places.try_emplace(name, distinct.size());
            if (is_new)
                distinct.push_back(field);
            else
                // The last of one name gives the value, at the place of the first.
                distinct[place->second] = field;
        }
        return distinct;
    }

    void add_field(const vrn_type_field_definition_t &field, const std::string &path, bool is_taken,
                   std::vector<FieldNode> *nodes) {
        // Depth makes paths long: their bytes are bounded as well as their number.
        name_bytes_ += path.size();
        if (name_bytes_ > max_row_name_bytes) {
            is_too_wide_ = true;
            return;
        }
        const bool takes_it = is_taken || selection_.takes_field_path(path);
        FieldNode node{&field, is_guid_word(field)};
        if (field.form == VRN_VALUE_RECORD) {
            node.fields = fields_of(*field.type, path, takes_it);
            // A record of which nothing is selected isn't told at all, not even empty.
            if (node.fields.empty()) return;
        } else if (!takes_it) {
            return;
        }
        nodes->push_back(std::move(node));
    }

    // What is named so and has another width keeps its own value.
    bool is_guid_word(const vrn_type_field_definition_t &field) const {
        return converts_guids_ && field.json_name.is_guid_word && field.array_length == 1 &&
               field.form != VRN_VALUE_RECORD && field.type->size == sizeof(std::uint64_t);
    }

    const RecordSelection &selection_;
    const bool converts_guids_;
    std::size_t num_nodes_ = 0;
    std::size_t name_bytes_ = 0;
    bool is_too_wide_ = false;
};

// Counts what a row of a plan would be told with.
class Width {
  public:
    Width(std::size_t max_values, std::size_t max_name_bytes)
        : max_values_(max_values), max_name_bytes_(max_name_bytes) {}

    // False when it is more than there may be.
    bool add(const std::vector<FieldNode> &fields, std::size_t times, std::size_t path_size) {
        for (const FieldNode &node : fields) {
            const std::size_t count = node.is_array() ? node.field->array_length : 1;
            const std::size_t name = path_size + 1 + std::strlen(node.field->field_name);
            // No overflow: `times` was held against the limit before it is multiplied.
            const std::size_t all = times * count;
            if (all > max_values_) return false;
            constexpr std::size_t index_size = 6;
            const std::size_t element = name + (node.is_array() ? index_size : 0);
            if (node.is_record()) {
                if (!add(node.fields, all, element)) return false;
                continue;
            }
            values_ += all;
            name_bytes_ += all * element;
            if (values_ > max_values_ || name_bytes_ > max_name_bytes_) return false;
        }
        return true;
    }

  private:
    const std::size_t max_values_;
    const std::size_t max_name_bytes_;
    std::size_t values_ = 0;
    std::size_t name_bytes_ = 0;
};

class Flattener {
  public:
    void key(const FieldNode &node) {
        path_.resize(base_);
        if (base_ > 0) path_ += '.';
        path_ += node.field->field_name;
    }
    void element(std::size_t index) {
        path_.resize(open_.back());
        path_ += '.';
        path_ += std::to_string(index);
    }
    void begin_record() { open(); }
    void end_record() { close(); }
    void begin_array() { open(); }
    void end_array() { close(); }
    void value(const RowValue &value) { leaves_.push_back({path_, value}); }

    std::vector<Leaf> take() { return std::move(leaves_); }

  private:
    void open() {
        open_.push_back(path_.size());
        base_ = path_.size();
    }
    void close() {
        path_.resize(open_.back());
        open_.pop_back();
        base_ = open_.empty() ? 0 : open_.back();
    }

    std::string path_;
    std::size_t base_ = 0;           // of the path to the innermost record or array
    std::vector<std::size_t> open_;  // the same for all of them
    std::vector<Leaf> leaves_;
};

}  // namespace

bool FieldNode::is_text() const {
    const std::uint32_t id = field->type->builtin_id;
    return field->array_length != 1 && (id == VRN_BUILTIN_CHAR || id == VRN_BUILTIN_UCHAR);
}

EventPlan make_event_plan(const vrn_type_definition_t &type, const RecordSelection &selection) {
    EventPlan plan{.type = &type, .fields = {}, .time_offset = find_time(type)};
    if (!selection.takes_events() || !selection.takes_type(type.name)) return plan;
    TreeBuilder tree(selection);
    plan.fields = tree.fields_of(type, "", false);
    plan.is_too_wide = tree.is_too_wide() || !is_within(plan, max_row_values, max_row_name_bytes);
    return plan;
}

bool is_within(const EventPlan &plan, std::size_t max_values, std::size_t max_name_bytes) {
    return !plan.is_too_wide && Width(max_values, max_name_bytes).add(plan.fields, 1, 0);
}

RowValue row_value_of(const FieldNode &node, std::uint64_t offset) {
    const vrn_type_field_definition_t &field = *node.field;
    if (node.is_guid_word)
        return {.form = ValueForm::bits64, .format = VRN_STRING_HEXADECIMAL, .offset = offset};
    if (node.is_text())
        return {.form = ValueForm::text, .size = field.array_length, .offset = offset};
    RowValue value{.spare_bits = field.spare_bits, .offset = offset};
    switch (field.form) {
        case VRN_VALUE_UNSIGNED:
            value.form = field.type->builtin_id == VRN_BUILTIN_TIMESTAMP
                             ? ValueForm::time
                             : ValueForm::unsigned_integer;
            break;
        case VRN_VALUE_SIGNED:
            value.form = ValueForm::signed_integer;
            break;
        case VRN_VALUE_FLOAT:
            value.form = ValueForm::float32;
            break;
        case VRN_VALUE_DOUBLE:
            value.form = ValueForm::float64;
            break;
        case VRN_VALUE_HEX:
            value.form = ValueForm::bits64;
            value.format = VRN_STRING_HEXADECIMAL;
            break;
        default:
            break;
    }
    return value;
}

std::vector<Leaf> flatten(const EventPlan &plan) {
    Flattener sink;
    FieldWalk(sink).members(plan.fields, 0);
    return sink.take();
}

}  // namespace vrn::exporter
