// vrn_export: exports data files on all cores.
#include <string>
#include <vector>

#include "common/tool_main.h"
#include "vrn_export/export_tool.h"

int main(int argc, char **argv) {
    namespace exporter = vrn::exporter;
    exporter::ExportOptions options;
    return vrn::tool::run_tool(exporter::make_command_line(&options), argc, argv,
                               exporter::failed_status,
                               [&](const std::vector<std::string> &operands) {
                                   return exporter::run_export(options, operands);
                               });
}
