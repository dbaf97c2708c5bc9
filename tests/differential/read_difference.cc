// read_difference OLD NEW [RUNS [SEED]]: lets two vrn_read binaries export the same random files
// and compares all that comes out: standard output, messages without their times, files, status.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "differential/random_run.h"
#include "support/temp_dir.h"
#include "utils/log.h"

namespace {

using vrn::test::TempDir;

// What one binary makes of a run; addresses differ from process to process.
std::string output_of(const char *binary, const std::string &arguments, const TempDir &dir) {
    const std::string command =
        "cd '" + dir.path() + "' && rm -rf out && mkdir out && " + std::string(binary) + " " +
        arguments +
        " >result 2>messages; echo \"status $?\" >>result; sed -E -e 's/^\\[[-0-9: .]+\\] //'"
        " -e 's,^" +
        std::string(binary) +
        ",vrn_read,' -e 's/0x[0-9a-f]{6,}/ADDRESS/g' -e 's/ [0-9]+ attempted/ LINE attempted/' "
        "messages >>result;"
        " find out -type f | sort | while read -r f; do echo \"$f\"; cat \"$f\"; done >>result";
    if (std::system(command.c_str()) != 0) return "the shell failed";
    return vrn::test::read_file(dir.file("result"));
}

}  // namespace

int main(int argc, char **argv) {
    if (argc < 3) {
        std::fputs("usage: read_difference OLD NEW [RUNS [SEED]]\n", stderr);
        return 2;
    }
    const std::string binaries[] = {std::filesystem::absolute(argv[1]),
                                    std::filesystem::absolute(argv[2])};
    const long runs = argc > 3 ? std::atol(argv[3]) : 1000;
    const long first = argc > 4 ? std::atol(argv[4]) : 1;
    vrn_init_stderr_logger(0);
    long differences = 0;
    long with_output = 0;
    for (long seed = first; seed < first + runs; ++seed) {
        const TempDir dir;
        const std::string arguments =
            vrn::test::make_random_run(static_cast<std::uint64_t>(seed), dir.path());
        const std::string old_output = output_of(binaries[0].c_str(), arguments, dir);
        const std::string new_output = output_of(binaries[1].c_str(), arguments, dir);
        with_output += old_output.size() > 200;
        if (old_output == new_output) continue;
        ++differences;
        std::printf("seed %ld differs: vrn_read %s\n", seed, arguments.c_str());
        if (runs == 1) std::printf("-- old\n%s-- new\n%s", old_output.c_str(), new_output.c_str());
    }
    std::printf("%ld runs, %ld with more than a message, %ld differ\n", runs, with_output,
                differences);
    return differences == 0 ? 0 : 1;
}
