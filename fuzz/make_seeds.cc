// make_seeds SEEDS CORPUS: writes each seed SEEDS/<decoder>/<name> to the same place in CORPUS, as
// the bytes that a fuzzer reads.
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>

#include "seed_file.h"

namespace {

namespace fs = std::filesystem;

void write_corpus(const fs::path &seeds, const fs::path &corpus) {
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(seeds)) {
        if (!entry.is_regular_file()) continue;
        const fs::path to = corpus / fs::relative(entry.path(), seeds);
        fs::create_directories(to.parent_path());
        std::ofstream file(to, std::ios::binary);
        file.exceptions(std::ios::badbit | std::ios::failbit);
        file << vrn::fuzz::read_seed(entry.path());
    }
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: make_seeds SEEDS CORPUS\n");
        return 2;
    }
    try {
        write_corpus(argv[1], argv[2]);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "make_seeds: %s\n", error.what());
        return 1;
    }
    return 0;
}
