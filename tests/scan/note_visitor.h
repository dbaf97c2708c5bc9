// A visitor that notes what it is shown, for tests to compare.
#pragma once

#include <string>
#include <vector>

#include "scan/visitor.h"

namespace vrn::test {

class NoteVisitor : public scan::Visitor {
  public:
    // How it answers faults and blocks that contain `refused`, unless that is empty.
    scan::Next answer = scan::Next::block;
    std::string refused;
    scan::PageUse page_use = scan::PageUse::blocks;

    std::vector<std::string> notes;
    std::vector<std::string> blocks;  // bytes of metrics blocks and of event rows
    std::vector<scan::FaultKind> faults;
    std::vector<scan::Fault> fault_details;
    std::vector<std::string> slack;  // what follows each block in its buffer

    void schemas(const std::shared_ptr<const scan::LoadedSchemas> &schemas) override {
        notes.push_back("schemas " + std::to_string(schemas->ids.num_events));
    }
    scan::PageUse page(const scan::CompressedPage &page) override {
        notes.push_back("page " + std::to_string(page.block.size()));
        return page_use;
    }
    scan::Next payload(const scan::CompressedPage & /*page*/, Bytes bytes) override {
        return take("payload", bytes);
    }
    scan::Next events(const scan::EventBatch &batch) override {
        return take("events " + std::string(batch.type->name), batch.rows);
    }
    scan::Next counters(const scan::CountersBlock &block) override {
        return take("counters " + std::to_string(block.held), block.row.first(block.held));
    }
    scan::Next metrics(const scan::PlainBlock &block) override {
        slack.emplace_back(reinterpret_cast<const char *>(block.bytes.data()) + block.bytes.size(),
                           scan::slack_size);
        return take("metrics", block.bytes);
    }
    scan::Next blob(const scan::PlainBlock &block) override { return take("blob", block.bytes); }
    scan::Next fault(const scan::Fault &fault) override {
        faults.push_back(fault.kind);
        fault_details.push_back(fault);
        return answer;
    }

  private:
    scan::Next take(const std::string &note, Bytes bytes) {
        notes.push_back(note);
        blocks.emplace_back(reinterpret_cast<const char *>(bytes.data()), bytes.size());
        return !refused.empty() && blocks.back().find(refused) != std::string::npos
                   ? answer
                   : scan::Next::block;
    }
};

}  // namespace vrn::test
