// Runs a fuzz target without libFuzzer on the files and folders of files it is given: on seeds as
// a test, on a finding below a debugger. Fails when there is none.
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

#include "seed_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

namespace {

namespace fs = std::filesystem;

void run(const fs::path &path) {
    const std::string seed = vrn::fuzz::read_seed(path);
    // On the heap and no byte too long, so that a sanitizer sees what is read beyond.
    const std::vector<std::uint8_t> bytes(seed.begin(), seed.end());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

int run_all(const fs::path &path) {
    if (!fs::is_directory(path)) return run(path), 1;
    int count = 0;
    for (const fs::directory_entry &entry : fs::directory_iterator(path)) {
        run(entry.path());
        ++count;
    }
    return count;
}

}  // namespace

int main(int argc, char **argv) {
    int count = 0;
    try {
        for (int i = 1; i < argc; ++i) count += run_all(argv[i]);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return 1;
    }
    return count > 0 ? 0 : 1;
}
