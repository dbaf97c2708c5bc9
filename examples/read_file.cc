// read_file SCHEMAS FILE...: mean speed of the fans in data files.
#include <vrn/data/schema/schema.h>
#include <vrn/scan/data_file_scan.h>

#include <cstdio>
#include <string_view>

namespace scan = vrn::scan;

struct FanSpeeds : scan::Visitor {
    double sum = 0;
    std::uint32_t count = 0;

    scan::Next events(const scan::EventBatch &batch) override {
        if (batch.type->name != std::string_view("fan")) return scan::Next::block;
        for (std::uint16_t i = 0; i < batch.type->num_fields; ++i) {
            const vrn_type_field_definition_t *field = batch.type->fields[i];
            if (field->field_name != std::string_view("rpm") || field->type_size != 4) continue;
            for (std::size_t row = 0; row < batch.count; ++row, ++count)
                sum += vrn::load_le<std::uint32_t>(batch.row(row) + field->offset);
        }
        return scan::Next::block;
    }
    scan::Next fault(const scan::Fault &fault) override {
        std::fprintf(stderr, "byte %lu: %s\n", fault.place.block, fault.reason);
        return scan::Next::block;  // all that can still be read
    }
};

int main(int argc, char **argv) {
    if (argc < 3) return 2;
    scan::SchemaCache schemas({.folder = argv[1]});
    FanSpeeds fans;
    bool done = true;
    for (int i = 2; i < argc; ++i) done &= scan::scan_data_file(argv[i], &schemas, &fans);
    if (fans.count > 0) std::printf("mean of %u: %.1f\n", fans.count, fans.sum / fans.count);
    return done && fans.count > 0 ? 0 : 1;
}
