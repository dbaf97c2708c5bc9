// Output of metrics stream blocks.
#pragma once

#include <memory>

#include "reader/file_output.h"
#include "utils/byte_reader.h"

namespace vrn::metrics {
class MetricsJsonWriter;
}

namespace vrn::reader {

class MetricsOutput {
  public:
    MetricsOutput();
    ~MetricsOutput();

    // Prints a CNTX block, which may be shorter than `block`, as one JSON value. Formats other than
    // JSON are refused in words, which is no failure. False after a line. Throws std::bad_alloc.
    bool show(Bytes block, FileOutput *output);

  private:
    [[nodiscard]] bool print(Bytes block, FileOutput *output);

    std::unique_ptr<metrics::MetricsJsonWriter> writer_;  // made at the first block
};

}  // namespace vrn::reader
