#include "vrn_check/fault_text.h"

#include <algorithm>
#include <limits>

#include "common/json_string.h"
#include "common/shown_text.h"

namespace vrn::check {
namespace {

std::string json_fault(std::string_view path, const FileFault &fault) {
    std::string line =
        "{\"file\":" + tool::json_string(path) + ",\"offset\":" + std::to_string(fault.offset);
    if (fault.in_page) line += ",\"in_page\":" + std::to_string(*fault.in_page);
    return line + ",\"lost\":" + std::to_string(fault.lost) +
           ",\"kind\":" + tool::json_string(fault.kind) +
           ",\"reason\":" + tool::json_string(fault.reason) + "}\n";
}

std::string text_fault(std::string_view path, const FileFault &fault) {
    std::string line = tool::shown_text(path) + ": offset " + std::to_string(fault.offset);
    if (fault.in_page) line += ", byte " + std::to_string(*fault.in_page) + " of its page";
    // Reasons may quote names out of the file.
    return line + ", lost " + std::to_string(fault.lost) + ": " + std::string(fault.kind) + ": " +
           tool::shown_text(fault.reason) + "\n";
}

std::string counted(std::uint64_t count, const char *thing) {
    return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

}  // namespace

void Totals::add_lost(std::uint64_t more) {
    lost += std::min(more, std::numeric_limits<std::uint64_t>::max() - lost);
}

Totals &Totals::operator+=(const Totals &other) {
    files += other.files;
    damaged += other.damaged;
    faults += other.faults;
    bytes += other.bytes;
    add_lost(other.lost);
    salvaged += other.salvaged;
    left_out += other.left_out;
    return *this;
}

std::string fault_line(Form form, std::string_view path, const FileFault &fault) {
    return form == Form::json ? json_fault(path, fault) : text_fault(path, fault);
}

std::string totals_line(Form form, const Totals &totals) {
    if (form == Form::json)
        return "{\"files\":" + std::to_string(totals.files) +
               ",\"damaged\":" + std::to_string(totals.damaged) +
               ",\"faults\":" + std::to_string(totals.faults) +
               ",\"bytes\":" + std::to_string(totals.bytes) +
               ",\"lost\":" + std::to_string(totals.lost) + "}\n";
    std::string line =
        "Checked " + counted(totals.files, "file") + " of " + counted(totals.bytes, "byte") + ": ";
    if (totals.faults == 0) return line + "no faults\n";
    return line + counted(totals.faults, "fault") + " in " + counted(totals.damaged, "file") +
           ", " + counted(totals.lost, "byte") + " lost\n";
}

std::string salvage_line(Form form, std::string_view path, const Totals &totals) {
    if (form == Form::json)
        return "{\"output\":" + tool::json_string(path) +
               ",\"salvaged\":" + std::to_string(totals.salvaged) +
               ",\"left_out\":" + std::to_string(totals.left_out) + "}\n";
    return "Salvaged " + counted(totals.salvaged, "file") + " to " + tool::shown_text(path) + ": " +
           counted(totals.left_out, "byte") + " left out\n";
}

}  // namespace vrn::check
