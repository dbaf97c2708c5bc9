#include "vrn_export/format/schema_learning.h"

#include <map>
#include <memory>
#include <utility>

#include "data/schema_id.h"
#include "scan/schema_folder.h"
#include "scan/schema_loader.h"
#include "utils/log_capture.h"
#include "vrn_export/format/hex_digest.h"

namespace vrn::exporter {
namespace {

// By whom it is used, a file of a schema does not say: what loads counts.
std::shared_ptr<const scan::LoadedSchemas> load(const vrn_schema_id_t &id,
                                                const std::string &folder) {
    return scan::SchemaLoader({.folder = folder, .take_what_loads = true})
        .load(scan::make_schema_ids(&id, 1, id));
}

}  // namespace

std::string learn_schemas(const std::set<std::string> &folders, Format *format) {
    const LogCapture log;  // what is wrong is told when the files are read
    // An id is a digest of the text: where two folders have it, they have the same schema.
    std::map<std::string, std::pair<vrn_schema_id_t, std::string>> schemas;
    for (const std::string &folder : folders)
        for (const vrn_schema_id_t &id : scan::schema_ids_in(folder))
            schemas.try_emplace(scan::schema_file_name(id), id, folder);
    std::string texts;
    for (const auto &[name, schema] : schemas) {
        format->learn(*load(schema.first, schema.second));
        // But whoever mends a schema by hand leaves its name.
        texts.append(name).append(hex_digest_of_file(schema.second + "/" + name));
    }
    return hex_digest(texts);
}

}  // namespace vrn::exporter
