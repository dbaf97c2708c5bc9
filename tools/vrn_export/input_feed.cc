#include "vrn_export/input_feed.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>

#include "common/fault_kind.h"
#include "data/magic.h"
#include "utils/log_capture.h"

namespace vrn::exporter {
namespace {

using scan::FaultKind;
using scan::Next;

// Passes over all that a file can be read in spite of.
class HeadVisitor final : public scan::Visitor {
  public:
    HeadVisitor(const ByteSource *source, std::uint64_t size,
                const InputFeed::TakeFault &take_fault)
        : source_(source), size_(size), take_fault_(take_fault) {}

    void header(const vrn_data_file_header_t &header) override { header_ = header; }
    void schemas(const std::shared_ptr<const scan::LoadedSchemas> &schemas) override {
        loaded = schemas;
    }
    Next fault(const scan::Fault &fault) override {
        if (fault.kind == FaultKind::schemas_missing) return refuse_schemas(fault);
        if (fault.kind == FaultKind::header_cut) return refuse_cut(fault);
        const bool is_other = fault.kind == FaultKind::header_bad &&
                              !vrn_magic_matches(header_.magic, VRN_MAGIC_FILE);
        // A size too small for the header is a wrong number only: the blocks can still be read.
        const bool is_size =
            fault.kind == FaultKind::header_bad && header_.file_size < sizeof header_;
        take_fault_(
            {.offset = 0,
             .length = is_size && !is_other ? 0 : size_,
             .kind = is_other ? "no_data_file" : std::string(tool::fault_kind_name(fault.kind)),
             .reason = logged(fault.reason)});
        return is_size && !is_other ? Next::block : Next::nothing;
    }

    std::shared_ptr<const scan::LoadedSchemas> loaded;

  private:
    Next refuse_cut(const scan::Fault &fault) {
        const bool is_unreadable = source_->state() == ByteSource::State::failed;
        take_fault_(
            {.offset = 0,
             .length = is_unreadable ? size_ : source_->position(),
             .kind = is_unreadable ? "unreadable" : std::string(tool::fault_kind_name(fault.kind)),
             .reason = is_unreadable
                           ? fault.reason
                           : "The file has " + std::to_string(source_->position()) +
                                 " bytes, a header has " + std::to_string(sizeof header_)});
        return Next::nothing;
    }

    // Metrics need none, and other schemas may have loaded.
    Next refuse_schemas(const scan::Fault &fault) {
        take_fault_({.offset = offsetof(vrn_data_file_header_t, counters_schema_id),
                     .length = 0,
                     .kind = std::string(tool::schemas_fault_name(*loaded)),
                     .reason = logged(fault.reason)});
        return Next::block;
    }

    std::string logged(const char *reason) {
        const std::vector<LogLine> lines = log_.take();
        return lines.empty() ? reason : std::string(reason) + ": " + lines.back().text;
    }

    LogCapture log_;
    vrn_data_file_header_t header_{};
    const ByteSource *source_;
    std::uint64_t size_;
    const InputFeed::TakeFault &take_fault_;
};

}  // namespace

bool InputFeed::open(const std::string &path, SchemaCaches *schemas, const TakeFault &take_fault) {
    file_ = Descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file_.is_open() || fstat(file_.get(), &status_) != 0) {
        // The process lacks something, not the file: to go on would pass over good inputs.
        if (errno == EMFILE || errno == ENFILE || errno == ENOMEM)
            throw std::system_error(errno, std::generic_category(), path);
        take_fault(
            {.offset = 0, .length = 0, .kind = "unreadable", .reason = std::strerror(errno)});
        return false;
    }
    cache_ = schemas->of_file(path);
    source_ = ByteSource::open_descriptor(file_.get());
    if (!source_) throw std::bad_alloc();
    feed_ = std::make_unique<scan::ChunkFeed>(source_.get(), cache_.get());
    HeadVisitor head(source_.get(), static_cast<std::uint64_t>(status_.st_size), take_fault);
    const bool is_open = feed_->open(&head);
    schemas_ = head.loaded;
    return is_open;
}

bool InputFeed::take(scan::ChunkRun *run) {
    const bool has_run = feed_->take(run);
    // Of the file on disk: of a compressed one the source's position counts decompressed bytes.
    const off_t position = lseek(file_.get(), 0, SEEK_CUR);
    // Pipes have none.
    raw_position_ = position < 0 ? source_->position() : static_cast<std::uint64_t>(position);
    return has_run;
}

void InputFeed::close() {
    file_ = Descriptor();
}

}  // namespace vrn::exporter
