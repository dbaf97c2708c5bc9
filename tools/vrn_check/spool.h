// A whole input, decompressed, in a new file that may take its name.
#pragma once

#include <cstddef>
#include <string>

#include "scan/byte_source.h"
#include "utils/byte_reader.h"
#include "utils/new_file.h"

namespace vrn::check {

// All that is read stays as it is while others write to the input.
class Spool {
  public:
    // Reads `source` to its end into `file`. Throws std::system_error when the file can't be
    // written.
    Spool(NewFile file, ByteSource *source);
    ~Spool();
    Spool(const Spool &) = delete;
    Spool &operator=(const Spool &) = delete;

    // scan::slack_size zeros can be read after them.
    Bytes bytes() const { return {data_, size_}; }

    // The file with these bytes and no more. To be called last.
    NewFile take();

  private:
    void fill(ByteSource *source);
    void map();
    void unmap();

    NewFile file_;
    const std::uint8_t *data_ = nullptr;
    std::size_t size_ = 0;
};

}  // namespace vrn::check
