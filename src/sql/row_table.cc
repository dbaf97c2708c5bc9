#include "sql/row_table.h"

#include <algorithm>
#include <set>
#include <unordered_map>

#include "sql/counter_fields.h"
#include "sql/event_fields.h"
#include "sql/field_copy.h"
#include "sql/name_columns.h"
#include "sql/row_reader.h"

namespace vrn::sql {
namespace {

// What a table knows of the layouts that its rows have.
// Functions in place of subclasses: nothing else differs between the two tables.
struct RowKind {
    std::vector<RecordField> (*fields_of)(const void *layout);
    std::unique_ptr<RowReader> (*make_reader)(RunQueue *queue, const RecordFilter *filter,
                                              const std::string &type);
};

class RowTable;

// How rows of the layouts that a thread has met get into the vectors of a projection.
class RowCopies {
  public:
    RowCopies(const RowTable &table, const std::vector<std::size_t> &projection)
        : table_(table), projection_(projection) {}

    // Forgets layouts when there are many, then keeps the owners of new ones.
    void begin_piece(const RowReader &reader);
    void copy(const StagedRows &rows, std::size_t first, std::size_t count,
              const std::vector<duckdb_vector> &vectors, std::size_t at);

  private:
    // Files that each have schemas of their own must not pile up.
    static constexpr std::size_t max_owners = 64;

    const std::vector<FieldCopy> &copies_for(const void *layout);

    const RowTable &table_;
    const std::vector<std::size_t> &projection_;
    // Copies are found by the address of a layout. Its owner is held as long, or the address could
    // come to be another layout's.
    std::set<std::shared_ptr<const scan::LoadedSchemas>> owners_;
    std::unordered_map<const void *, std::vector<FieldCopy>> copies_;
};

class RowTable final : public Table {
  public:
    RowTable(FileSet files, RecordFilter filter, std::string type, RowKind kind)
        : files_(std::move(files)),
          filter_(std::move(filter)),
          type_(std::move(type)),
          kind_(kind) {}

    void unite(const std::vector<RecordField> &fields) {
        sql::unite(&columns_, columns_of(fields), type_);
    }
    void end_columns() { add_name_columns(&columns_); }

    std::unique_ptr<TableScan> scan(std::vector<std::size_t> projection) const override;

    std::size_t num_fields() const { return columns_.size() - num_name_columns; }
    const FileSet &files() const { return files_; }
    const RecordFilter &filter() const { return filter_; }
    const std::string &type() const { return type_; }
    const RowKind &kind() const { return kind_; }

  private:
    FileSet files_;
    RecordFilter filter_;
    std::string type_;
    RowKind kind_;
};

class RowThread final : public ScanThread {
  public:
    RowThread(const RowTable &table, const std::vector<std::size_t> &projection, RunQueue *queue)
        : reader_(table.kind().make_reader(queue, &table.filter(), table.type())),
          copies_(table, projection),
          vectors_(projection.size()) {}

    std::size_t fill(duckdb_data_chunk chunk) override {
        for (std::size_t i = 0; i < vectors_.size(); ++i)
            vectors_[i] = duckdb_data_chunk_get_vector(chunk, i);
        const std::size_t room = duckdb_vector_size();
        std::size_t size = 0;
        while (size < room && find_rows()) {
            const StagedRows &rows = reader_->rows()[next_];
            const std::size_t count = std::min(rows.count - used_, room - size);
            copies_.copy(rows, used_, count, vectors_, size);
            size += count;
            used_ += count;
        }
        return size;
    }

  private:
    // Rows that are left of the piece, or those of the next piece that has any.
    bool find_rows() {
        for (;;) {
            // Rows go on in the next chunk when this one is full, so they are left here only when
            // used up.
            if (next_ < reader_->rows().size() && used_ == reader_->rows()[next_].count) {
                ++next_;
                used_ = 0;
            }
            if (next_ < reader_->rows().size()) return true;
            if (!reader_->next_piece()) return false;
            copies_.begin_piece(*reader_);
            next_ = 0;
            used_ = 0;
        }
    }

    std::unique_ptr<RowReader> reader_;
    RowCopies copies_;
    std::vector<duckdb_vector> vectors_;
    std::size_t next_ = 0;  // of the rows of the piece
    std::size_t used_ = 0;  // of those
};

class RowScan final : public TableScan {
  public:
    RowScan(const RowTable &table, std::vector<std::size_t> projection)
        : table_(table),
          projection_(std::move(projection)),
          queue_(files_in_time(table.files(), table.filter())) {}

    std::size_t max_threads() const override { return threads_for(table_.files()); }
    std::unique_ptr<ScanThread> make_thread() override {
        return std::make_unique<RowThread>(table_, projection_, &queue_);
    }

  private:
    const RowTable &table_;
    std::vector<std::size_t> projection_;
    RunQueue queue_;
};

std::unique_ptr<TableScan> RowTable::scan(std::vector<std::size_t> projection) const {
    return std::make_unique<RowScan>(*this, std::move(projection));
}

void RowCopies::begin_piece(const RowReader &reader) {
    // Safe here alone: no row of the piece before is left to copy.
    if (owners_.size() > max_owners) {
        copies_.clear();
        owners_.clear();
    }
    owners_.insert(reader.owners().begin(), reader.owners().end());
}

const std::vector<FieldCopy> &RowCopies::copies_for(const void *layout) {
    const auto [entry, is_new] = copies_.try_emplace(layout);
    if (!is_new) return entry->second;
    const std::vector<RecordField> fields = table_.kind().fields_of(layout);
    // An entry for each place, used or not, so that copies and vectors have the same index.
    for (const std::size_t place : projection_) {
        const bool is_name = place >= table_.num_fields();
        // A place may lie beyond the columns; any of them will do, as it isn't filled.
        const Column &column = table_.columns()[std::min(place, table_.columns().size() - 1)];
        const auto field = std::ranges::find_if(
            fields, [&](const RecordField &known) { return same_name(known.name, column.name); });
        ColumnType type = column.type;
        // The bind saw the layouts at chunk and page starts. One that is met later must fit those
        // columns, which the engine can't change any more.
        if (is_name || field == fields.end())
            entry->second.emplace_back(type);
        else if (!widen(&type, field->type()) || type != column.type)
            throw QueryError("column " + column.name + " of " + table_.type() +
                             " has a type in the midst of a page that its files don't name at a "
                             "page's start");
        else
            entry->second.emplace_back(*field, column.type);
    }
    return entry->second;
}

void RowCopies::copy(const StagedRows &rows, std::size_t first, std::size_t count,
                     const std::vector<duckdb_vector> &vectors, std::size_t at) {
    const std::vector<FieldCopy> &copies = copies_for(rows.layout);
    const RecordSpan span = {rows.first + first * rows.stride, rows.stride, rows.held, count};
    for (std::size_t i = 0; i < vectors.size(); ++i) {
        const std::size_t place = projection_[i];
        if (place < table_.num_fields())
            copies[i].copy(span, vectors[i], at);
        else
            put_names(vectors[i], at, count, place - table_.num_fields(), *rows.names);
    }
}

template <typename Visit>
void visit_schemas(const FileSet &files, Visit visit) {
    std::set<const scan::LoadedSchemas *> seen;
    for (const auto &file : files)
        for (const auto &schemas : file->schemas)
            // Files of one folder share what its cache has loaded: each is visited once.
            if (seen.insert(schemas.get()).second && schemas->type_system)
                visit(*schemas->type_system);
}

template <typename Visit>
void visit_types(const FileSet &files, Visit visit) {
    visit_schemas(files, [&](const vrn_type_system_t &system) {
        for (std::size_t i = 0; i < system.num_schemas; ++i)
            for (std::size_t j = 0; system.schemas[i] && j < system.schemas[i]->num_types; ++j)
                if (const vrn_type_definition_t *type = system.schemas[i]->types[j])
                    if (type->name) visit(*type);
    });
}

// What keeps a type from being found.
std::string missing_schema_note(const FileSet &files) {
    const auto file =
        std::ranges::find_if(files, [](const auto &info) { return !info->has_all_schemas; });
    return file == files.end() ? "" : "; not all schemas of " + (*file)->path + " are there";
}

constexpr RowKind event_kind = {
    [](const void *layout) {
        return event_fields(*static_cast<const vrn_type_definition_t *>(layout));
    },
    [](RunQueue *queue, const RecordFilter *filter,
       const std::string &type) -> std::unique_ptr<RowReader> {
        return std::make_unique<EventReader>(queue, filter, type);
    }};

constexpr RowKind counter_kind = {
    [](const void *layout) {
        return counter_fields(*static_cast<const vrn_counters_schema_t *>(layout));
    },
    [](RunQueue *queue, const RecordFilter *filter, const std::string & /*type*/)
        -> std::unique_ptr<RowReader> { return std::make_unique<CounterReader>(queue, filter); }};

}  // namespace

std::unique_ptr<Table> make_event_table(FileSet files, RecordFilter filter, std::string type) {
    auto table = std::make_unique<RowTable>(std::move(files), std::move(filter), std::move(type),
                                            event_kind);
    visit_types(table->files(), [&](const vrn_type_definition_t &definition) {
        if (definition.name == table->type()) table->unite(event_fields(definition));
    });
    // Not all schemas may be at hand; that is the likeliest reason, so the error tells it.
    if (table->columns().empty())
        throw QueryError("there are no events of type '" + table->type() + "'" +
                         missing_schema_note(table->files()));
    table->end_columns();
    return table;
}

std::unique_ptr<Table> make_counter_table(FileSet files, RecordFilter filter) {
    auto table =
        std::make_unique<RowTable>(std::move(files), std::move(filter), "counters", counter_kind);
    visit_schemas(table->files(), [&](const vrn_type_system_t &system) {
        if (system.counters_schema && system.counters_schema->num_groups > 0)
            table->unite(counter_fields(*system.counters_schema));
    });
    if (table->columns().empty())
        throw QueryError("there are no counters" + missing_schema_note(table->files()));
    table->end_columns();
    return table;
}

std::vector<std::string> event_types(const FileSet &files) {
    std::set<std::string> names;
    visit_types(files, [&](const vrn_type_definition_t &type) { names.insert(type.name); });
    return {names.begin(), names.end()};
}

bool has_counters(const FileSet &files) {
    bool found = false;
    visit_schemas(files, [&](const vrn_type_system_t &system) {
        found = found || (system.counters_schema && system.counters_schema->num_groups > 0);
    });
    return found;
}

std::size_t threads_for(const FileSet &files) {
    // A run is a MiB, and a thread without one has nothing to do. The bound is for the engine,
    // which has far fewer threads anyway.
    std::uint64_t bytes = 0;
    for (const auto &file : files) bytes += static_cast<std::uint64_t>(file->status.st_size);
    return std::min<std::size_t>(std::max<std::size_t>(files.size(), bytes / (1 << 20)), 1024);
}

}  // namespace vrn::sql
