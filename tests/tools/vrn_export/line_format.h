// A format of a line for each block of events, and a fault for each fault.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "support/byte_builder.h"
#include "vrn_export/format/encoder.h"

namespace vrn::exporter {

// Lines are "FILE SOURCE SCHEMA TIME", where the schema is told by the first byte of its id and
// `separator` stands after FILE.
class LineEncoder final : public Encoder {
  public:
    explicit LineEncoder(const std::string &separator) : separator_(separator) {}

    void begin_file(const std::string &path, const vrn_data_file_header_t &header) override {
        name_ = std::filesystem::path(path).filename().string() + separator_ + header.source_id;
    }
    void begin_run(Encoded *to) override {
        to_ = to;
        to_->tables.emplace_back();
    }
    void schemas(const std::shared_ptr<const scan::LoadedSchemas> &schemas) override {
        schema_ = std::to_string(schemas->ids.events[0].bytes[0]);
    }
    scan::Next events(const scan::EventBatch &batch) override {
        ++to_->counts.events;
        to_->tables.front().text.append(name_ + " " + schema_ + " " +
                                        std::to_string(batch.header.timestamp) + "\n");
        return scan::Next::block;
    }
    scan::Next fault(const scan::Fault &fault) override {
        to_->faults.push_back({fault.place.block, fault.lost, "fault", fault.reason});
        return scan::Next::block;
    }

  private:
    std::string separator_;
    std::string name_;
    std::string schema_;
    Encoded *to_ = nullptr;
};

class LineFormat final : public Format {
  public:
    explicit LineFormat(std::string separator = " ") : separator_(std::move(separator)) {}

    std::unique_ptr<Encoder> make_encoder() const override {
        return std::make_unique<LineEncoder>(separator_);
    }
    bool takes_file(const vrn_data_file_header_t & /*header*/) const override { return true; }
    const char *suffix() const override { return ".txt"; }

  private:
    std::string separator_;
};

// A block of one event, by the sample schemas.
inline std::string event_block(std::uint64_t time) {
    return test::ByteBuilder().text("VRNE").u64(time).u8(0).u16(0).u8(1).u16(1).u16(2).done();
}

}  // namespace vrn::exporter
