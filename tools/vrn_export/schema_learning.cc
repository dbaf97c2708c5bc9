#include "vrn_export/schema_learning.h"

#include <memory>

#include "utils/log_capture.h"
#include "vrn_export/input_feed.h"

namespace vrn::exporter {

void learn_schemas(const std::vector<tool::InputFile> &files, SchemaCaches *schemas,
                   Format *format) {
    const LogCapture log;  // what is wrong is told when the files are read
    std::shared_ptr<const scan::LoadedSchemas> last;
    for (const tool::InputFile &file : files) {
        InputFeed feed;
        if (!feed.open(file.path, schemas, [](const FoundFault &) {})) continue;
        // Files of one kind mostly follow each other.
        if (feed.schemas() && feed.schemas() != last && format->takes_file(feed.header()))
            format->learn(*feed.schemas());
        last = feed.schemas();
    }
}

}  // namespace vrn::exporter
