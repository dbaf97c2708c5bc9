// vrn_format_manuals DOCUMENT SOURCES OUTPUT: makes OUTPUT/man/*.5 of SOURCES/*.5.in and the
// sections of DOCUMENT, docs/format.md. It runs as part of the build.
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>

#include "manuals/markdown.h"
#include "manuals/page.h"

namespace vrn::manuals {
namespace {

// "@UNTIL HEADING@" are the sections before that one, "@FROM HEADING@" those from it on: so that a
// section that is new is in one of the two pages.
std::string sections(const std::string &document, const std::string &part,
                     const std::string &heading) {
    const std::size_t at = document.find("\n## " + heading + "\n");
    if (at == document.npos) throw std::runtime_error("there is no section " + heading);
    if (part == "UNTIL") return roff_of_markdown(document.substr(0, at));
    if (part == "FROM") return roff_of_markdown(document.substr(at));
    throw std::runtime_error("nothing is made for " + part);
}

void write_manuals(const std::string &document, const std::string &sources,
                   const std::string &output) {
    const std::string text = read_text(document);
    const auto make = [&](const std::string &part, const std::string &heading) {
        return sections(text, part, heading);
    };
    for (const std::string name : {"vrn-data-file.5", "vrn-schema.5"})
        write_page(sources, output, name, make);
}

}  // namespace
}  // namespace vrn::manuals

int main(int argc, char **argv) {
    if (argc != 4) return EXIT_FAILURE;
    try {
        vrn::manuals::write_manuals(argv[1], argv[2], argv[3]);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "vrn_format_manuals: %s\n", error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
