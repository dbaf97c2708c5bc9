#include "sql/file_info.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <functional>

#include "data/block.h"
#include "data/compressed_page.h"
#include "data/magic.h"
#include "scan/byte_source.h"
#include "scan/file_head.h"
#include "scan/schema_folder.h"
#include "sql/clean_text.h"
#include "sql/column.h"
#include "sql/page_prefix.h"
#include "sql/session.h"
#include "utils/descriptor.h"

namespace vrn::sql {
namespace {

// Holds the largest schemas block, or the header of any page.
constexpr std::size_t head_size = VRN_SCHEMAS_BLOCK_MIN_BYTES;
// Of a page's stream, for as many decoded bytes.
constexpr std::size_t stream_head_size = 4096;

// Bytes of a chunk from an offset on, as many of `size` as there are; valid until the next call.
using ChunkBytes = std::function<Bytes(std::size_t offset, std::size_t size)>;

// Finds the schemas that a file names and the kinds of its blocks.
class FileProbe final : public scan::Visitor {
  public:
    explicit FileProbe(FileInfo *info) : info_(*info), schemas_(info->cache.get(), this) {}

    void run(int descriptor) {
        const std::unique_ptr<ByteSource> source = ByteSource::open_descriptor(descriptor);
        if (!source) throw std::bad_alloc();
        info_.has_head = scan::read_file_head(source.get(), &schemas_, this, &info_.header);
        if (!info_.has_head) return;
        info_.is_compressed = source->is_compressed();
        // The first entry: whoever looks for an offset finds at least this one.
        info_.changes.push_back({sizeof info_.header, schemas_.current()});
        // Only a plain file can be read at any offset; the other must be decompressed from its
        // start.
        if (info_.is_compressed)
            read_chunks(source.get());
        else
            visit_chunks(descriptor);
    }

    void header(const vrn_data_file_header_t &header) override {
        info_.header = header;
        info_.is_ours = vrn_magic_matches(header.magic, VRN_MAGIC_FILE);
        // Cleaned here, as the filter compares it with a text of the engine.
        info_.source = clean_text(field_text(header.source_id));
        info_.tag = clean_text(field_text(header.source_tag));
    }

    void schemas(const std::shared_ptr<const scan::LoadedSchemas> &schemas) override {
        info_.has_all_schemas = info_.has_all_schemas && schemas->is_whole;
        if (std::ranges::find(info_.schemas, schemas) == info_.schemas.end())
            info_.schemas.push_back(schemas);
    }

    // Told by those who read the records.
    scan::Next fault(const scan::Fault &fault) override {
        return fault.kind == scan::FaultKind::header_bad ? scan::Next::nothing : scan::Next::block;
    }

  private:
    // Only the heads of chunks and pages are read.
    void visit_chunks(int descriptor) {
        std::uint8_t head[stream_head_size];
        const std::uint64_t chunk_size = info_.header.block_size;
        const auto end = static_cast<std::uint64_t>(info_.status.st_size);
        for (std::uint64_t start = sizeof info_.header; start < end; start += chunk_size) {
            const std::size_t held = std::min(chunk_size, end - start);
            const auto kind = visit_chunk([&](std::size_t offset, std::size_t size) -> Bytes {
                if (offset >= held) return {};
                // A failed read shows as an empty block: who reads the records tells of it.
                const ssize_t got = pread(descriptor, head, std::min(size, held - offset),
                                          static_cast<off_t>(start + offset));
                return {head, static_cast<std::size_t>(std::max<ssize_t>(got, 0))};
            });
            if (kind == VRN_SCHEMAS_BLOCK && info_.changes.back().schemas != schemas_.current())
                info_.changes.push_back({start, schemas_.current()});
        }
    }

    void read_chunks(ByteSource *source) {
        std::vector<std::uint8_t> chunk(info_.header.block_size);
        while (const std::size_t held = source->read(chunk.data(), chunk.size()))
            visit_chunk([&](std::size_t offset, std::size_t size) -> Bytes {
                const Bytes rest = Bytes(chunk).first(held).subspan(std::min(offset, held));
                return rest.first(std::min(size, rest.size()));
            });
    }

    // Returns the kind of its first block.
    vrn_block_type_t visit_chunk(const ChunkBytes &chunk) {
        // The engine can't interrupt a bind, and a large file has many chunks.
        check_cancelled();
        Bytes head = chunk(0, head_size);
        const vrn_block_type_t kind = kind_of(head);
        if (kind != VRN_PAGE_BLOCK) visit_block(head);
        for (std::size_t offset = 0; kind_of(head) == VRN_PAGE_BLOCK;) {
            std::uint8_t header[head_size] = {};  // zeros after what there is
            std::ranges::copy(head.subspan(VRN_MAGIC_SIZE), header);
            const auto fields = vrn_compressed_page_header_load(header);
            const std::size_t stream = offset + VRN_MAGIC_SIZE + fields.header_size;
            const std::size_t wanted = std::min<std::size_t>(stream_head_size, fields.data_size);
            visit_block(
                bytes_of(decode_page_prefix(fields.encoding, chunk(stream, wanted), head_size)));
            // Sizes are the file's word; an offset after the chunk's end just gives no more bytes.
            // It grows with each turn, so the loop ends.
            offset = stream + fields.data_size + VRN_MAGIC_SIZE;
            head = chunk(offset, head_size);
        }
        return kind;
    }

    static vrn_block_type_t kind_of(Bytes block) {
        return block.size() < VRN_MAGIC_SIZE ? VRN_UNKNOWN_BLOCK : vrn_block_type_of(block.data());
    }

    void visit_block(Bytes block) {
        const vrn_block_type_t kind = kind_of(block);
        info_.has_counters = info_.has_counters || kind == VRN_COUNTERS_BLOCK;
        info_.has_metrics = info_.has_metrics || kind == VRN_CNTX_BLOCK;
        // A block that is cut short names no schemas; who reads the records tells of it.
        if (kind != VRN_SCHEMAS_BLOCK || block.size() < head_size) return;
        const auto fields = load_le<vrn_schemas_block_t>(block.data());
        if (fields.num_schema_ids > VRN_SCHEMAS_BLOCK_MAX_IDS) return;
        vrn_schema_id_t ids[VRN_SCHEMAS_BLOCK_MAX_IDS];
        std::memcpy(ids, block.data() + sizeof fields, sizeof ids);
        schemas_.use(ids, fields.num_schema_ids);
    }

    FileInfo &info_;
    scan::SchemasInUse schemas_;
};

// A file that is still written changes its size, one that is replaced its number.
bool is_same(const struct stat &a, const struct stat &b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size &&
           a.st_mtim.tv_sec == b.st_mtim.tv_sec && a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

[[noreturn]] void fail(const std::string &path) {
    throw QueryError(path + ": " + std::strerror(errno));
}

}  // namespace

std::shared_ptr<const FileInfo> FileCatalog::get(const std::string &path,
                                                 const std::string &schema_folder) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) fail(path);
    // Scans read it twice, and a pipe gives its bytes once.
    if (!S_ISREG(status.st_mode)) throw QueryError(path + " is no file to read in any order");
    const std::pair key(path, schema_folder);
    {
        const std::lock_guard lock(mutex_);
        const auto found = files_.find(key);
        if (found != files_.end() && is_same(found->second->status, status)) return found->second;
    }
    // Outside the lock, for a look takes long. Two threads may look at the same file then, which
    // costs time and nothing else.
    auto info = std::make_shared<FileInfo>();
    info->path = path;
    info->status = status;
    info->cache = cache_of(scan::schema_folder_of(path, schema_folder));
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.is_open()) {
        // Told by who reads the records: the rows of other files come nevertheless.
        info->open_error = std::strerror(errno);
        return info;
    }
    FileProbe(info.get()).run(file.get());
    // A schema that is missing may be there the next time.
    if (!info->has_all_schemas) return info;
    const std::lock_guard lock(mutex_);
    // Queries hold on to the files they use, so all can be forgotten at once.
    if (files_.size() >= max_kept) files_.clear();
    files_[key] = info;
    return info;
}

std::shared_ptr<scan::SchemaCache> FileCatalog::cache_of(const std::string &folder) {
    const std::lock_guard lock(mutex_);
    std::shared_ptr<scan::SchemaCache> &cache = caches_[folder];
    if (!cache)
        cache = std::make_shared<scan::SchemaCache>(
            scan::SchemaLoaderOptions{.folder = folder, .take_what_loads = true});
    return cache;
}

}  // namespace vrn::sql
