// One data file that may grow: what of it was taken, and how more is taken.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <memory>
#include <string>

#include "data/data_file_header.h"
#include "scan/byte_source.h"
#include "scan/chunk_feed.h"
#include "scan/page_buffer.h"
#include "series/schema_folders.h"
#include "series/series_options.h"
#include "utils/descriptor.h"
#include "vrn_serve/live_store.h"

namespace vrn::serve {

// What reading goes through, shared by all tails of a thread.
struct TailTools {
    LiveStore *store;
    const series::SeriesOptions *options;
    series::SchemaFolders *folders;
    scan::ChunkRun run{};
    scan::PageBuffer page{};
    std::uint64_t losses = 0;  // stretches of files that could not be taken whole
};

class FileTail {
  public:
    enum class Step : std::uint8_t {
        done,   // there is nothing to take at present
        more,   // to be called again
        waits,  // the rest is taken by take_rest(), once nobody writes to the file any more
    };

    // Takes a bounded number of whole chunks that were not taken yet. A file that was emptied or
    // overwritten is one that was never read; of one that is no data file nothing is taken.
    Step take(const std::string &path, TailTools *tools);

    // Takes what no writer goes on with: a last chunk that is short, and a compressed file.
    Step take_rest(const std::string &path, TailTools *tools);

  private:
    class Stretch;
    struct Compressed;

    Descriptor open_file(const std::string &path);
    std::size_t take_run(int file, std::size_t size, Stretch *stretch, TailTools *tools);
    Step take_compressed(const std::string &path, TailTools *tools);

    std::uint64_t size_ = 0;  // of the file when it was opened last
    vrn_data_file_header_t head_{};
    bool is_compressed_ = false;
    bool is_data_file_ = false;
    std::uint64_t offset_ = 0;                // of the first chunk that was not taken; 0: none was
    scan::SchemaIds schemas_{};               // in use there
    std::uint64_t rest_size_ = 0;             // of the file whose rest was taken
    std::shared_ptr<Compressed> compressed_;  // while it is being read
};

}  // namespace vrn::serve
