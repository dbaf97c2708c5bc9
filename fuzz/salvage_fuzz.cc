// Input: a damaged data file. What is saved of it is sound.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "data/data_file_header.h"
#include "support/sample_files.h"
#include "support/temp_dir.h"
#include "vrn_check/fault_text.h"
#include "vrn_check/file_check.h"
#include "vrn_check/file_mend.h"

namespace {

using namespace vrn;
using namespace vrn::check;

// Named by their texts, as a check wants them.
SchemaTexts *make_schemas() {
    static const test::TempDir dir;
    for (const std::string &text : {test::sample_event_schema(), test::sample_counters_schema()}) {
        vrn_schema_id_t id{};
        char hex[VRN_SCHEMA_ID_HEX_SIZE];
        if (!vrn_md5_of_string(text.c_str(), &id)) std::abort();
        vrn_schema_id_format(&id, hex);
        dir.write(std::string("schema/schema_") + hex + ".json", text);
    }
    static SchemaTexts schemas(dir.file("schema"));
    return &schemas;
}

// Empty when nothing was found.
std::string mend(const std::string &bytes, SchemaTexts *schemas, scan::PageBuffer *page) {
    const std::string with_slack = bytes + std::string(scan::slack_size, '\0');
    const Descriptor output(memfd_create("saved", MFD_CLOEXEC));
    FileMend mend(schemas, page, [](const FileFault &) {});
    if (!mend.run(bytes_of(with_slack).first(bytes.size()), output)) return "";
    std::string saved(static_cast<std::size_t>(lseek(output.get(), 0, SEEK_END)), '\0');
    if (pread(output.get(), saved.data(), saved.size(), 0) != static_cast<ssize_t>(saved.size()))
        std::abort();
    return saved;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static SchemaTexts *schemas = make_schemas();
    static scan::PageBuffer page;
    const std::string saved = mend({data, data + size}, schemas, &page);
    if (saved.empty()) return 0;
    bool lacks_schema = false;
    const auto stop = [&](const FileFault &fault) {
        // What a missing schema describes is kept as it was found.
        lacks_schema |= fault.kind == "schema_missing";
        if (lacks_schema) return;
        std::fputs(fault_line(Form::text, "saved", fault).c_str(), stderr);
        std::abort();
    };
    FileCheck("saved", schemas, &page, stop)
        .run(ByteSource::open_memory(bytes_of(saved)), saved.size());
    return 0;
}
