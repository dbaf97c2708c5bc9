// Tells the session of the faults of a file.
#pragma once

#include <string>

#include "scan/visitor.h"
#include "sql/session.h"

namespace vrn::sql {

inline std::string fault_text(const std::string &reason, const scan::Place &place) {
    return reason + ", at byte " + std::to_string(place.block);
}
inline std::string fault_text(const scan::Fault &fault) {
    return fault_text(fault.reason, fault.place);
}

// Goes on after each fault that leaves anything to read.
class FaultVisitor : public scan::Visitor {
  public:
    FaultVisitor() = default;
    explicit FaultVisitor(std::string path) : path_(std::move(path)) {}

    scan::Next fault(const scan::Fault &fault) override {
        report_fault(path_, fault_text(fault));
        // Without a header the size of chunks isn't known, so nothing after it can be found.
        return fault.kind == scan::FaultKind::header_bad ? scan::Next::nothing : scan::Next::block;
    }

    const std::string &path() const { return path_; }

  protected:
    void set_path(const std::string &path) { path_ = path; }

  private:
    std::string path_;
};

}  // namespace vrn::sql
