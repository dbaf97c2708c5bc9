// One input file, from its path to its runs of chunks.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "scan/byte_source.h"
#include "scan/chunk_feed.h"
#include "utils/descriptor.h"
#include "vrn_export/format/encoder.h"
#include "vrn_export/schema_caches.h"

namespace vrn::exporter {

// Not for several threads at a time.
class InputFeed {
  public:
    using TakeFault = std::function<void(FoundFault)>;

    // Opens the file and reads its head. False when it holds no chunks to read, after a fault.
    // Throws std::system_error when it fails for want of something else than the file.
    bool open(const std::string &path, SchemaCaches *schemas, const TakeFault &take_fault);

    // The next run. False when the file has ended.
    bool take(scan::ChunkRun *run);
    bool has_ended() const { return feed_->has_ended(); }

    const vrn_data_file_header_t &header() const { return feed_->header(); }
    // By which its head was read; null without one.
    const std::shared_ptr<const scan::LoadedSchemas> &schemas() const { return schemas_; }
    const std::shared_ptr<scan::SchemaCache> &cache() const { return cache_; }
    // As it was when it was opened; all zeros when it wasn't.
    const struct stat &status() const { return status_; }
    // Bytes taken from the disk so far.
    std::uint64_t raw_position() const { return raw_position_; }
    // Nothing is read any more.
    void close();

  private:
    Descriptor file_;
    struct stat status_ {};
    std::uint64_t raw_position_ = 0;
    std::shared_ptr<scan::SchemaCache> cache_;
    std::unique_ptr<ByteSource> source_;
    std::unique_ptr<scan::ChunkFeed> feed_;
    std::shared_ptr<const scan::LoadedSchemas> schemas_;
};

}  // namespace vrn::exporter
