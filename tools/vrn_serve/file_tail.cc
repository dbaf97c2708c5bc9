#include "vrn_serve/file_tail.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "scan/file_head.h"
#include "series/file_series.h"
#include "utils/log.h"

namespace vrn::serve {
namespace {

// Between two looks at what else there is to do.
constexpr std::size_t bytes_per_step = std::size_t{16} << 20;
constexpr std::size_t runs_per_step = bytes_per_step / scan::ChunkRun::run_size;
constexpr std::uint8_t gzip_magic[] = {0x1f, 0x8b};

// Bytes read from `offset` on, up to `size`.
std::size_t read_at(int file, void *to, std::size_t size, std::uint64_t offset) {
    auto *place = static_cast<std::uint8_t *>(to);
    std::size_t got = 0;
    while (got < size) {
        const ssize_t count =
            pread(file, place + got, size - got, static_cast<off_t>(offset + got));
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        got += static_cast<std::size_t>(count);
    }
    return got;
}

// What writers bring up to date in the header of a file counts for nothing.
bool is_same_file(vrn_data_file_header_t a, vrn_data_file_header_t b) {
    a.file_size = b.file_size;
    a.last_timestamp = b.last_timestamp;
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// The size divides offsets and decides how much is read at a time: 0 or gigabytes from a hostile
// header must not pass.
bool has_chunks(const vrn_data_file_header_t &head) {
    return vrn_data_file_header_is_valid(&head) && head.block_size >= scan::min_chunk_size &&
           head.block_size < scan::chunk_size_limit;
}

}  // namespace

// What one step takes from a file.
class FileTail::Stretch {
  public:
    Stretch(const std::string &path, TailTools *tools)
        : path_(path),
          tools_(tools),
          folder_(tools->folders->of_file(path)),
          intake_(tools->store->make_intake()),
          series_(*tools->options, folder_->metadata.get(), intake_.get()) {}

    scan::SchemaCache *schemas() { return &folder_->schemas; }
    scan::Visitor *visitor() { return &series_; }

    // Walks the run, which begins with the schemas it names, and returns those it ends with.
    std::shared_ptr<const scan::LoadedSchemas> walk(const scan::ChunkRun &run) {
        try {
            return walk_run(run);
        } catch (const metrics::StoreFull &) {
            // With an empty intake the run may fit.
            hand_over();
        }
        try {
            // Anew, as what was taken twice counts once.
            return walk_run(run);
        } catch (const metrics::StoreFull &) {
            note_loss("holds more series than there is room for");
            return run.schemas;
        }
    }

    // Gives the store what came together.
    void hand_over() {
        tools_->store->take(*intake_);
        intake_ = tools_->store->make_intake();
        series_.use_store(intake_.get());
    }

    void finish() {
        tools_->store->take(*intake_);
        const std::string loss = series_.take_loss();
        if (!loss.empty()) note_loss(loss);
    }

  private:
    std::shared_ptr<const scan::LoadedSchemas> walk_run(const scan::ChunkRun &run) {
        return scan::walk_chunk_run(run, schemas(), &tools_->page, &series_).schemas;
    }

    void note_loss(const std::string &loss) {
        ++tools_->losses;
        VRN_LOG(VRN_LOG_INFO, "%s: %s", path_.c_str(), loss.c_str());
    }

    const std::string &path_;
    TailTools *tools_;
    series::SchemaFolder *folder_;
    std::unique_ptr<metrics::MetricsHistory> intake_;
    series::FileSeries series_;
};

struct FileTail::Compressed {
    Compressed(std::unique_ptr<ByteSource> from, scan::SchemaCache *cache)
        : source(std::move(from)), feed(source.get(), cache) {}

    // The feed borrows the source, so it is declared after it.
    std::unique_ptr<ByteSource> source;
    scan::ChunkFeed feed;
    std::shared_ptr<const scan::LoadedSchemas> schemas;  // in use after the last run
    bool has_begun = false;
};

// Opens the file and finds out what it is. Closed when it can't be read.
Descriptor FileTail::open_file(const std::string &path) {
    // A pipe that took the place of a file must not hold us.
    Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status {};
    if (!file.is_open() || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return {};
    size_ = static_cast<std::uint64_t>(status.st_size);
    vrn_data_file_header_t head{};
    const std::size_t got = read_at(file.get(), &head, sizeof head, 0);
    is_compressed_ =
        got >= sizeof gzip_magic && std::memcmp(&head, gzip_magic, sizeof gzip_magic) == 0;
    is_data_file_ = got == sizeof head && has_chunks(head);
    // Written anew, or cut: what is known of it holds for other content.
    if (offset_ == 0 || !is_same_file(head, head_) || (is_data_file_ && size_ < offset_)) {
        offset_ = sizeof head;
        rest_size_ = 0;
        schemas_ = scan::make_schema_ids(head.event_schema_ids, VRN_EVENT_SCHEMA_IDS,
                                         head.counters_schema_id);
    }
    head_ = head;
    return file;
}

FileTail::Step FileTail::take(const std::string &path, TailTools *tools) {
    const Descriptor file = open_file(path);
    if (!file.is_open()) return Step::done;
    // A stream is read once for each size that it has had.
    if (is_compressed_) return size_ == rest_size_ ? Step::done : Step::waits;
    if (!is_data_file_ || size_ <= offset_) return Step::done;
    const std::size_t chunk_size = head_.block_size;
    // What goes beyond the last whole chunk is still being written.
    const std::uint64_t whole_end = size_ - (size_ - offset_) % chunk_size;
    // A whole chunk at least, or a file with larger ones would never get on.
    const std::uint64_t step_end =
        std::min(whole_end, offset_ + std::max(bytes_per_step, chunk_size));
    const std::size_t run_size =
        std::max<std::size_t>(scan::ChunkRun::run_size / chunk_size, 1) * chunk_size;
    Stretch stretch(path, tools);
    stretch.visitor()->header(head_);
    while (offset_ < step_end) {
        const std::size_t size = std::min<std::uint64_t>(run_size, whole_end - offset_);
        // None when the file was cut short meanwhile, or can't be read.
        const std::size_t taken = take_run(file.get(), size, &stretch, tools);
        if (taken == 0) break;
        offset_ += taken;
    }
    stretch.finish();
    // It failed us on the way; the next change of the file brings us back.
    if (offset_ < step_end) return Step::done;
    if (offset_ < whole_end) return Step::more;
    return size_ > whole_end && size_ != rest_size_ ? Step::waits : Step::done;
}

FileTail::Step FileTail::take_rest(const std::string &path, TailTools *tools) {
    if (compressed_) return take_compressed(path, tools);
    const Descriptor file = open_file(path);
    if (!file.is_open() || size_ == rest_size_) return Step::done;
    if (is_compressed_) return take_compressed(path, tools);
    // Chunks that became whole meanwhile are for take(), which their change calls for.
    if (!is_data_file_ || size_ <= offset_ || size_ - offset_ >= head_.block_size)
        return Step::done;
    rest_size_ = size_;
    Stretch stretch(path, tools);
    stretch.visitor()->header(head_);
    const scan::SchemaIds schemas = schemas_;
    take_run(file.get(), size_ - offset_, &stretch, tools);
    // Not passed over: the chunk may still become whole.
    schemas_ = schemas;
    stretch.finish();
    return Step::done;
}

// Reads `size` bytes from `offset_` on, all or none, and walks what stands in them. Returns how
// many there were.
std::size_t FileTail::take_run(int file, std::size_t size, Stretch *stretch, TailTools *tools) {
    scan::ChunkRun *run = &tools->run;
    if (!run->reserve(size) || read_at(file, run->room(), size, offset_) != size) return 0;
    // Decoders look a little past the end, where bytes of an earlier run may stand.
    std::memset(run->room() + size, 0, scan::slack_size);
    run->bytes = {run->room(), size};
    run->offset = offset_;
    run->chunk_size = head_.block_size;
    run->end_fault.reset();
    run->schemas = stretch->schemas()->get(schemas_);
    schemas_ = stretch->walk(*run)->ids;
    return size;
}

// A stream can't be entered in its middle: it is read from its start, in several steps.
FileTail::Step FileTail::take_compressed(const std::string &path, TailTools *tools) {
    Stretch stretch(path, tools);
    if (!compressed_) {
        // Noted before it can fail: what can't be read isn't tried again until its size changes.
        rest_size_ = size_;
        auto source = ByteSource::open_path(path.c_str());
        if (!source) return Step::done;
        compressed_ = std::make_shared<Compressed>(std::move(source), stretch.schemas());
        if (!compressed_->feed.open(stretch.visitor())) {
            compressed_.reset();
            return Step::done;
        }
    }
    stretch.visitor()->header(compressed_->feed.header());
    scan::ChunkRun *run = &tools->run;
    bool has_more = true;
    for (std::size_t runs = 0; runs < runs_per_step; ++runs) {
        has_more = compressed_->feed.take(run);
        if (!has_more) break;
        // What the walk came to holds, not what the feed foresaw.
        if (std::exchange(compressed_->has_begun, true)) run->schemas = compressed_->schemas;
        compressed_->schemas = stretch.walk(*run);
    }
    stretch.finish();
    if (has_more) return Step::more;
    compressed_.reset();
    return Step::done;
}

}  // namespace vrn::serve
