// vrn_manuals SOURCES OUTPUT: makes OUTPUT/man/*.1 and *.7 of SOURCES/*.in, and OUTPUT/bash and
// OUTPUT/zsh, from the tables of options that the tools parse by. It runs as part of the build.
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>

#include "manuals/completion.h"
#include "manuals/page.h"
#include "manuals/read_command.h"
#include "vrn_chart/chart_options.h"
#include "vrn_check/check_options.h"
#include "vrn_collect/collect_options.h"
#include "vrn_export/export_options.h"
#include "vrn_serve/serve_options.h"
#include "vrn_sql/sql_options.h"

namespace vrn::manuals {
namespace {

void write_tool(const tool::CommandLine &line, const std::string &sources,
                const std::string &output) {
    const std::string program = line.program;
    write_page(sources, output, program + ".1", [&](const std::string &part, const std::string &) {
        if (part == "OPTIONS") return options_section(line);
        throw std::runtime_error(program + ": nothing is made for " + part);
    });
    write_text(output + "/bash/" + program, bash_completion(line));
    write_text(output + "/zsh/_" + program, zsh_completion(line));
}

void write_manuals(const std::string &sources, const std::string &output) {
    chart::ChartOptions chart;
    check::Settings check;
    collect::CollectOptions collect;
    exporter::ExportOptions exported;
    serve::ServeOptions serve;
    sqltool::Settings sql;
    for (const tool::CommandLine &line :
         {chart::make_command_line(&chart), check::make_command_line(&check),
          collect::make_command_line(&collect), exporter::make_command_line(&exported),
          serve::make_command_line(&serve), sqltool::make_command_line(&sql), make_read_command()})
        write_tool(line, sources, output);
    write_page(sources, output, "vrn.7", {});
}

}  // namespace
}  // namespace vrn::manuals

int main(int argc, char **argv) {
    if (argc != 3) return EXIT_FAILURE;
    try {
        vrn::manuals::write_manuals(argv[1], argv[2]);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "vrn_manuals: %s\n", error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
