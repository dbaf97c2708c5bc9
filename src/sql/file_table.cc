#include "sql/file_table.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <optional>

#include "scan/data_file_scan.h"
#include "scan/metrics_walk.h"
#include "scan/missing_rows.h"
#include "sql/fault_visitor.h"
#include "sql/metrics_reader.h"
#include "sql/metrics_table.h"
#include "sql/row_table.h"

namespace vrn::sql {
namespace {

class FaultCount final : public scan::Visitor {
  public:
    FileFaults faults{};

    scan::Next fault(const scan::Fault &fault) override {
        add(fault_text(fault));
        return fault.kind == scan::FaultKind::header_bad ? scan::Next::nothing : scan::Next::block;
    }

    // The engine asks for a cancel between fills only, and one fill reads a whole file.
    void chunk_end() override { check_cancelled(); }

    scan::Next metrics(const scan::PlainBlock &block) override {
        scan::split_metrics(
            block.bytes, [this](Bytes found) { check(found); },
            [this](std::size_t, std::size_t, const char *, const std::string &reason) {
                add(reason);
            });
        return scan::Next::block;
    }

    scan::Next events(const scan::EventBatch &batch) override {
        return check_rows(batch, batch.place());
    }
    scan::Next counters(const scan::CountersBlock &block) override {
        return check_rows(block, block.place);
    }

  private:
    template <typename Block>
    scan::Next check_rows(const Block &block, const scan::Place &place) {
        if (scan::is_whole(block)) return scan::Next::block;
        add(fault_text(scan::missing_rows(block), place));
        // What follows in the run was told by that.
        return scan::Next::run;
    }

    void check(Bytes block) {
        try {
            cursor_.begin(block);
            while (cursor_.next())
                if (!cursor_.fault().empty()) add(cursor_.fault());
        } catch (const std::runtime_error &error) {
            // Ends the block alone: the next one begins at its own mark.
            add(error.what());
        }
    }

    void add(const std::string &reason) {
        if (faults.count++ == 0) faults.first = reason;
    }

    MetricsCursor cursor_;
};

enum FileColumn : std::uint8_t {
    file_path,
    file_source,
    file_tag,
    file_first,
    file_last,
    file_bytes,
    file_faults,
    file_first_fault,
};

class FileThread final : public ScanThread {
  public:
    FileThread(const FileSet &files, const std::vector<std::size_t> &projection,
               std::atomic<std::size_t> *next)
        : files_(files), projection_(projection), next_(*next) {}

    // One file at a time: to read it takes a while.
    std::size_t fill(duckdb_data_chunk chunk) override {
        check_cancelled();
        // Threads take files by turns: whoever is done first takes the next.
        const std::size_t index = next_++;
        if (index >= files_.size()) return 0;
        faults_.reset();
        for (std::size_t i = 0; i < projection_.size(); ++i)
            put(duckdb_data_chunk_get_vector(chunk, i), projection_[i], *files_[index]);
        return 1;
    }

  private:
    void put(duckdb_vector vector, std::size_t place, const FileInfo &file) {
        switch (place) {
            case file_path:
                return put_text(vector, 0, file.path);
            case file_source:
                return put_text(vector, 0, file.source);
            case file_tag:
                return put_text(vector, 0, file.tag);
            case file_first:
                return put_time(vector, file.header.first_timestamp);
            case file_last:
                return put_time(vector, file.header.last_timestamp);
            case file_bytes:
                *vector_data<std::uint64_t>(vector) =
                    static_cast<std::uint64_t>(file.status.st_size);
                return;
            case file_faults:
                *vector_data<std::uint64_t>(vector) = faults_of(file).count;
                return;
            case file_first_fault:
                // Found once, whichever of the two columns comes first.
                if (faults_of(file).count == 0) return put_nulls(vector, 0, 1);
                return put_text(vector, 0, faults_of(file).first);
            default:
                return;
        }
    }

    static void put_time(duckdb_vector vector, std::uint64_t micros) {
        if (micros == 0) return put_nulls(vector, 0, 1);
        *vector_data<std::int64_t>(vector) = to_engine_time(micros);
    }

    const FileFaults &faults_of(const FileInfo &file) {
        if (!faults_) faults_ = find_faults(file);
        return *faults_;
    }

    // These three are the scan's, which outlives its threads.
    const FileSet &files_;
    const std::vector<std::size_t> &projection_;
    std::atomic<std::size_t> &next_;
    std::optional<FileFaults> faults_;  // of the file at hand
};

class FileTable final : public Table {
  public:
    explicit FileTable(FileSet files) : files_(std::move(files)) {
        columns_ = {{"path", {Kind::text}},      {"source", {Kind::text}},
                    {"tag", {Kind::text}},       {"first", {Kind::timestamp}},
                    {"last", {Kind::timestamp}}, {"bytes", {Kind::uint64}},
                    {"faults", {Kind::uint64}},  {"first_fault", {Kind::text}}};
    }

    std::unique_ptr<TableScan> scan(std::vector<std::size_t> projection) const override;

    const FileSet &files() const { return files_; }

  private:
    FileSet files_;
};

class FileScan final : public TableScan {
  public:
    FileScan(const FileSet &files, std::vector<std::size_t> projection)
        : files_(files), projection_(std::move(projection)) {}

    std::size_t max_threads() const override { return files_.size(); }
    std::unique_ptr<ScanThread> make_thread() override {
        return std::make_unique<FileThread>(files_, projection_, &next_);
    }

  private:
    const FileSet &files_;
    std::vector<std::size_t> projection_;
    std::atomic<std::size_t> next_ = 0;
};

std::unique_ptr<TableScan> FileTable::scan(std::vector<std::size_t> projection) const {
    return std::make_unique<FileScan>(files_, std::move(projection));
}

// Few rows of texts that are there when the table is made.
using TextRows = std::vector<std::vector<std::string>>;

class TextThread final : public ScanThread {
  public:
    TextThread(const TextRows &rows, const std::vector<std::size_t> &projection)
        : rows_(rows), projection_(projection) {}

    std::size_t fill(duckdb_data_chunk chunk) override {
        const std::size_t size = std::min<std::size_t>(rows_.size() - used_, duckdb_vector_size());
        for (std::size_t i = 0; i < projection_.size(); ++i)
            for (std::size_t row = 0; row < size; ++row)
                // Places after the last column are those that need not be filled.
                if (const auto &texts = rows_[used_ + row]; projection_[i] < texts.size())
                    put_text(duckdb_data_chunk_get_vector(chunk, i), row, texts[projection_[i]]);
        used_ += size;
        return size;
    }

  private:
    const TextRows &rows_;
    const std::vector<std::size_t> &projection_;
    std::size_t used_ = 0;
};

class TextScan final : public TableScan {
  public:
    TextScan(const TextRows &rows, std::vector<std::size_t> projection)
        : rows_(rows), projection_(std::move(projection)) {}

    std::size_t max_threads() const override { return 1; }
    std::unique_ptr<ScanThread> make_thread() override {
        return std::make_unique<TextThread>(rows_, projection_);
    }

  private:
    const TextRows &rows_;
    std::vector<std::size_t> projection_;
};

class ContentTable final : public Table {
  public:
    explicit ContentTable(const FileSet &files) {
        columns_ = {{"name", {Kind::text}}, {"kind", {Kind::text}}};
        for (const std::string &type : event_types(files)) rows_.push_back({type, "events"});
        if (has_counters(files)) rows_.push_back({"counters", "counters"});
        if (!has_metrics(files)) return;
        rows_.push_back({"metrics", "metrics"});
        rows_.push_back({"histograms", "histograms"});
    }

    std::unique_ptr<TableScan> scan(std::vector<std::size_t> projection) const override {
        return std::make_unique<TextScan>(rows_, std::move(projection));
    }

  private:
    TextRows rows_;
};

}  // namespace

FileFaults find_faults(const FileInfo &file) {
    FaultCount count;
    // A scan that failed has told its fault.
    static_cast<void>(scan::scan_data_file(file.path.c_str(), file.cache.get(), &count));
    return count.faults;
}

std::unique_ptr<Table> make_file_table(FileSet files) {
    return std::make_unique<FileTable>(std::move(files));
}

std::unique_ptr<Table> make_content_table(const FileSet &files) {
    return std::make_unique<ContentTable>(files);
}

}  // namespace vrn::sql
