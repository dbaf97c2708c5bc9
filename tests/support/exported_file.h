// What a format of vrn_export makes of one data file, run by run, by one encoder.
#pragma once

#include <map>
#include <string>

#include "scan/chunk_feed.h"
#include "support/test.h"
#include "vrn_export/format/encoder.h"
#include "vrn_export/format/schema_learning.h"

namespace vrn::test {

struct ExportedFile {
    std::map<std::string, std::string> tables;  // text by name, without heads
    exporter::RecordCounts counts;
    Lines faults;  // "offset length kind"
    Lines reasons;

    const std::string &text() { return tables[""]; }
};

inline void add_encoded(const exporter::Encoded &run, ExportedFile *file) {
    for (const exporter::Encoded::Table &table : run.tables)
        file->tables[table.name] += table.text.view();
    file->counts += run.counts;
    for (const exporter::FoundFault &fault : run.faults) {
        file->faults.push_back(std::to_string(fault.offset) + " " + std::to_string(fault.length) +
                               " " + std::string(fault.kind));
        file->reasons.push_back(fault.reason);
    }
}

// Schemas are those of the folder "schema" in `dir`.
inline ExportedFile export_file(const std::string &bytes, const TempDir &dir,
                                exporter::Format &format) {
    scan::SchemaCache schemas(
        {.folder = dir.file("schema"), .take_what_loads = true, .keep_noisy_loads = true});
    // Exactly as many bytes as there are, so that a sanitizer sees each read past them.
    const auto source = ByteSource::open_memory(bytes_of(bytes));
    CapturedLog log;
    scan::ChunkFeed feed(source.get(), &schemas);
    ExportedFile file;
    const auto encoder = format.make_encoder();
    exporter::Encoded encoded;
    encoder->begin_file("a.bin", {});
    encoder->begin_run(&encoded);
    const bool is_open = feed.open(encoder.get());
    add_encoded(encoded, &file);
    if (!is_open) return file;
    encoder->begin_file("a.bin", feed.header());
    scan::PageBuffer buffer;
    for (scan::ChunkRun run; feed.take(&run);) {
        encoded.clear();
        encoder->begin_run(&encoded);
        scan::walk_chunk_run(run, &schemas, &buffer, encoder.get());
        add_encoded(encoded, &file);
    }
    return file;
}

inline ExportedFile export_file(const std::string &bytes, const TempDir &dir,
                                const exporter::FormatOptions &options) {
    const auto format = exporter::make_format(options);
    exporter::learn_schemas({dir.file("schema")}, format.get());
    return export_file(bytes, dir, *format);
}

}  // namespace vrn::test
