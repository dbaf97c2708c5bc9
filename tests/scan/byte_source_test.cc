// Held against gzread over plain files, gzip files and damaged forms of them.
#include "scan/byte_source.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zlib.h>

#include <cerrno>
#include <random>

#include "support/gzip_difference.h"
#include "support/page_blocks.h"
#include "support/test.h"

namespace vrn::test {
namespace {

using State = ByteSource::State;
using std::string_literals::operator""s;

struct Outcome {
    std::string bytes;
    State state;
    std::string error;

    bool operator==(const Outcome &) const = default;
};

Outcome read_all(ByteSource *source, std::size_t step) {
    Outcome outcome{};
    std::string piece(step, '\0');
    do {
        outcome.bytes.append(piece, 0, source->read(piece.data(), step));
    } while (source->state() == State::open);
    EXPECT_EQ(source->position(), outcome.bytes.size());
    EXPECT_EQ(source->read(piece.data(), step), 0U);
    outcome.state = source->state();
    outcome.error = source->error_text();
    return outcome;
}

// What a loop of gzread with zlib's own buffers makes of a file. Of a damaged stream it loses what
// was inflated by the call that met the fault.
Outcome read_with_zlib(const std::string &path, std::size_t step) {
    Outcome outcome{};
    const CPtr<gzFile_s, gzclose> file(gzopen(path.c_str(), "rb"));
    std::string piece(step, '\0');
    errno = 0;
    int count = 0;
    while ((count = gzread(file.get(), piece.data(), static_cast<unsigned>(step))) > 0)
        outcome.bytes.append(piece, 0, static_cast<std::size_t>(count));
    int error = Z_OK;
    const std::string text = gzerror(file.get(), &error);
    outcome.state = count < 0 ? State::failed : error == Z_OK ? State::ended : State::cut_short;
    outcome.error = error == Z_OK ? std::strerror(errno) : text.substr(path.size() + 2);
    return outcome;
}

std::string random_text(std::size_t size) {
    std::mt19937 random(static_cast<unsigned>(size));
    std::string text(size, '\0');
    for (char &c : text) c = "abcdefgh"[random() % 8];
    return text;
}

std::string gzip(const std::string &text) {
    return encode(VRN_ENCODING_GZIP, text);
}

// All ways to open and to step through the file at `path`.
void expect_like_zlib(const std::string &path, const std::string &bytes) {
    for (const std::size_t step : {1U, 256U, 5000U, 65536U, 300000U}) {
        if (step == 1 && bytes.size() > 4000) continue;
        SCOPED_TRACE(step);
        const Outcome expected = read_with_zlib(path, step);
        const Outcome outcome = read_all(ByteSource::open_path(path.c_str()).get(), step);
        EXPECT_EQ(outcome.state, expected.state);
        EXPECT_EQ(outcome.error, expected.error);
        if (outcome.state == State::failed)
            EXPECT_TRUE(outcome.bytes.starts_with(expected.bytes));
        else
            EXPECT_TRUE(outcome.bytes == expected.bytes) << outcome.bytes.size();
        EXPECT_TRUE(read_all(ByteSource::open_memory(bytes_of(bytes)).get(), step) == outcome);
        const int descriptor = open(path.c_str(), O_RDONLY);
        EXPECT_TRUE(read_all(ByteSource::open_descriptor(descriptor).get(), step) == outcome);
        EXPECT_EQ(close(descriptor), 0);
    }
}

TEST(ByteSource, ReadsWholeFilesAsZlibDoes) {
    const std::string small = random_text(700);
    const std::string large = random_text(200000);
    const std::string random_bytes = gzip(large).substr(100);
    const std::string tail("tail\x1F\x8B", 6);
    const struct {
        const char *name;
        std::string bytes;
    } cases[] = {
        {"empty", ""},
        {"one byte", "x"},
        {"first magic byte", "\x1F"},
        {"magic alone", "\x1F\x8B"},
        {"plain", small},
        {"large plain", large + random_bytes},
        {"exactly a buffer", random_text(32768)},
        {"gzip", gzip(small)},
        {"large gzip", gzip(large)},
        {"little packed", gzip(random_bytes)},
        {"empty member", gzip("")},
        {"members", gzip(small) + gzip("") + gzip(large) + gzip(small)},
        {"garbage after a member", gzip(small) + tail + gzip(small)},
        {"zeros after a member", gzip(large) + std::string(40000, '\0')},
        {"a byte after a member", gzip(small) + "\x1F"},
        {"magic after a member", gzip(small) + "\x1F\x8B"},
        {"no deflate", std::string("\x1F\x8B\x07") + small},
        {"plain before gzip", "VRNF" + gzip(small)},
    };
    const TempDir dir;
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        expect_like_zlib(dir.write("a", c.bytes), c.bytes);
    }
}

TEST(ByteSource, GivesWhatCameOfACutStream) {
    const std::string whole = gzip(random_text(700)) + gzip(random_text(300));
    const TempDir dir;
    for (std::size_t length = 0; length < whole.size(); length += 7) {
        SCOPED_TRACE(length);
        expect_like_zlib(dir.write("a", whole.substr(0, length)), whole.substr(0, length));
    }
}

TEST(ByteSource, GivesAllThatWasInflatedBeforeAFault) {
    const std::string text = random_text(100000);
    const std::string whole = gzip(text);
    const TempDir dir;
    for (const std::size_t place : {whole.size() - 1, whole.size() - 8, whole.size() / 2}) {
        SCOPED_TRACE(place);
        std::string damaged = whole;
        damaged[place] = static_cast<char>(damaged[place] ^ 0x55);
        expect_like_zlib(dir.write("a", damaged), damaged);
        if (place == whole.size() / 2) continue;
        const Outcome outcome = read_all(ByteSource::open_memory(bytes_of(damaged)).get(), 65536);
        EXPECT_EQ(outcome.state, State::failed);
        EXPECT_TRUE(outcome.bytes == text);
    }
}

// A gzip stream with these flags and what they announce in its header.
std::string gzip_with(char flags, const std::string &parts, const std::string &text) {
    std::string stream = gzip(text);
    stream[3] = flags;
    return stream.insert(10, parts);
}

TEST(ByteSource, SaysOfHeadersWhatZlibAloneSays) {
    const std::string text = random_text(700);
    const std::string name = "events.bin\0"s;
    const std::string headers[] = {
        gzip_with(1, "", text),
        gzip_with(8, name, text),
        gzip_with(8, std::string(2000, 'n') + '\0', text),
        gzip_with(16, name, text),
        gzip_with(12, "\3\0xyz"s + name, text),
        gzip_with(2, "??", text),
        gzip_with(64, "", text),
        gzip_with(8, name, "") + gzip_with(2, "??", text) + gzip(text),
        gzip(text) + gzip_with(1, "", text) + gzip_with(8, name, text),
    };
    for (const std::string &header : headers) {
        SCOPED_TRACE(&header - headers);
        EXPECT_EQ(gzip_file_difference(header), "");
        EXPECT_EQ(gzip_file_difference(header.substr(0, 15)), "");
        EXPECT_EQ(gzip_page_difference(header), "");
    }
}

TEST(ByteSource, SaysOfDamagedStreamsWhatZlibAloneSays) {
    std::mt19937 random(7);
    // Above and below what is held back; several blocks, and matches near and far.
    for (const std::size_t size : {3000U, 60000U, 500000U}) {
        std::string text = random_text(size);
        for (std::size_t i = size / 2; i < size; ++i)
            if (random() % 9 != 0) text[i] = text[i - size / 3];
        const std::string whole = gzip(random_text(100)) + gzip(text) + "tail";
        for (int run = 0; run < 150; ++run) {
            std::string damaged = whole.substr(0, run % 3 == 0 ? random() % whole.size() : -1);
            for (std::size_t flips = run % 4; flips > 0; --flips)
                damaged[random() % damaged.size()] ^= static_cast<char>(1 << random() % 8);
            SCOPED_TRACE(std::to_string(size) + " bytes, run " + std::to_string(run));
            EXPECT_EQ(gzip_file_difference(damaged), "");
            EXPECT_EQ(gzip_page_difference(damaged), "");
        }
    }
}

TEST(ByteSource, NamesWhatTheSystemRefuses) {
    const TempDir dir;
    EXPECT_EQ(ByteSource::open_path(dir.file("none").c_str()), nullptr);
    EXPECT_EQ(errno, ENOENT);
    const Outcome folder = read_all(ByteSource::open_path(dir.path().c_str()).get(), 256);
    EXPECT_TRUE(folder == (Outcome{"", State::failed, "Is a directory"}));
}

TEST(ByteSource, ReadsPipesInPieces) {
    const std::string bytes = gzip(random_text(700)) + gzip("end");
    for (const std::size_t first : {1U, 2U, 30U}) {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        const pid_t child = fork();
        if (child == 0) {
            close(ends[0]);
            const auto put = [&](const std::string &piece) {
                return write(ends[1], piece.data(), piece.size());
            };
            _exit(put(bytes.substr(0, first)) + put(bytes.substr(first)) > 0 ? 0 : 1);
        }
        close(ends[1]);
        const Outcome outcome = read_all(ByteSource::open_descriptor(ends[0]).get(), 256);
        close(ends[0]);
        EXPECT_EQ(outcome.state, State::ended);
        EXPECT_TRUE(outcome.bytes == random_text(700) + "end");
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
    }
}

}  // namespace
}  // namespace vrn::test
