#include "vrn_export/input_list.h"

#include <algorithm>
#include <filesystem>

#include "common/command_line.h"
#include "common/shown_text.h"
#include "vrn_export/part_name.h"

namespace vrn::exporter {
namespace {

namespace fs = std::filesystem;

// Without links, as far as it exists.
fs::path real_path(const fs::path &path) {
    std::error_code error;
    fs::path real = fs::weakly_canonical(fs::absolute(path, error), error);
    return real.has_filename() ? real : real.parent_path();
}

bool lies_in(const fs::path &path, const fs::path &folder) {
    return std::mismatch(path.begin(), path.end(), folder.begin(), folder.end()).second ==
           folder.end();
}

}  // namespace

void refuse_output_among_inputs(const std::vector<std::string> &operands,
                                const std::string &folder) {
    for (const std::string &operand : operands) {
        if (!fs::is_directory(operand)) continue;
        const fs::path input = real_path(operand);
        // A part lies below the folder by the operand's whole path, and links may lead that back
        // again.
        for (const fs::path &output : {fs::path(folder), fs::path(folder) / part_name(operand, "")})
            if (lies_in(real_path(output), input))
                throw tool::UsageError("the output folder " + tool::shown_text(folder) +
                                       " would put files into the input folder " +
                                       tool::shown_text(operand));
    }
}

}  // namespace vrn::exporter
