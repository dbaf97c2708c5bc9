#include "vrn_export/sorted_spool.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <system_error>
#include <utility>

namespace vrn::exporter {
namespace {

constexpr std::size_t max_fan_in = 32;
// Of each run in a merge, in bytes: with less, a disk would seek more than read.
constexpr std::size_t good_buffer_size = 65536;
constexpr std::size_t min_memory = 4096;

[[noreturn]] void fail(const std::string &what) {
    throw std::system_error(errno, std::generic_category(), what);
}

Descriptor open_nameless(const std::string &folder) {
    Descriptor file(::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    if (file.is_open()) return file;
    // Not all file systems have files that never had a name.
    std::string path = folder + "/.sorted-XXXXXX";
    file = Descriptor(::mkostemp(path.data(), O_CLOEXEC));
    if (!file.is_open()) fail("can't make a temporary file in '" + folder + "'");
    ::unlink(path.c_str());
    return file;
}

// One of two keyed texts stands before the other; of equal keys the greater line is first.
bool is_before(std::string_view a, std::size_t a_key_size, std::string_view b,
               std::size_t b_key_size) {
    const int order = a.substr(0, a_key_size).compare(b.substr(0, b_key_size));
    return order != 0 ? order < 0 : a > b;
}

// Tells the first line of each key from those that follow it.
class FirstOfKey {
  public:
    // Keeps a copy: the text that the key came from is gone by the next call.
    bool is_first(std::string_view key) {
        if (has_last_ && key == last_) return false;
        has_last_ = true;
        last_ = key;
        return true;
    }

  private:
    bool has_last_ = false;
    std::string last_;
};

// Runs are read by pread(), so the file's position stays at its end, where writes go on.
class RunWriter {
  public:
    RunWriter(int file, std::size_t buffer_size) : file_(file), buffer_size_(buffer_size) {}

    void append(std::string_view text) {
        if (buffer_.size() + text.size() > buffer_size_) flush();
        buffer_ += text;
        size_ += text.size();
    }
    void flush() {
        for (std::string_view rest = buffer_; !rest.empty();) {
            const ssize_t count = ::write(file_, rest.data(), rest.size());
            if (count < 0 && errno != EINTR) fail("can't write to a temporary file");
            if (count > 0) rest.remove_prefix(static_cast<std::size_t>(count));
        }
        buffer_.clear();
    }
    std::uint64_t size() const { return size_; }

  private:
    int file_;
    std::size_t buffer_size_;
    std::string buffer_;
    std::uint64_t size_ = 0;
};

// The keyed lines of a run, one after the other.
class RunReader {
  public:
    RunReader(int file, std::uint64_t begin, std::uint64_t end, std::size_t buffer_size)
        : file_(file), next_(begin), end_(end), buffer_(buffer_size) {}

    // False at the end of the run. The views live until the next call.
    bool advance() {
        // Past the line that was given by the last call.
        at_ += line_size_;
        for (std::size_t searched = 0;;) {
            const std::string_view rest(buffer_.data() + at_, filled_ - at_);
            const std::size_t end_of_line = rest.find('\n', searched);
            if (end_of_line != rest.npos) {
                line_size_ = end_of_line + 1;
                key_size_ = rest.find('\t');
                return true;
            }
            // What was searched is not searched again, or a long line would take quadratic time.
            searched = rest.size();
            if (next_ == end_) return false;
            fill();
        }
    }
    std::string_view keyed() const { return {buffer_.data() + at_, line_size_}; }
    std::size_t key_size() const { return key_size_; }

  private:
    void fill() {
        std::memmove(buffer_.data(), buffer_.data() + at_, filled_ - at_);
        filled_ -= at_;
        at_ = 0;
        // Only a line longer than the buffer leaves no room here.
        if (filled_ == buffer_.size()) buffer_.resize(2 * buffer_.size());
        const std::size_t wanted = static_cast<std::size_t>(
            std::min<std::uint64_t>(buffer_.size() - filled_, end_ - next_));
        const ssize_t count =
            ::pread(file_, buffer_.data() + filled_, wanted, static_cast<off_t>(next_));
        // The caller finds no end of line yet, and asks again.
        if (count < 0 && errno == EINTR) return;
        if (count == 0) errno = EIO;  // the file is ours and holds the run
        if (count <= 0) fail("can't read a temporary file");
        filled_ += static_cast<std::size_t>(count);
        next_ += static_cast<std::uint64_t>(count);
    }

    int file_;
    std::uint64_t next_;
    std::uint64_t end_;
    std::vector<char> buffer_;
    std::size_t filled_ = 0;
    std::size_t at_ = 0;
    std::size_t line_size_ = 0;
    std::size_t key_size_ = 0;
};

}  // namespace

SortedSpool::SortedSpool(std::string folder, std::size_t memory)
    : folder_(std::move(folder)),
      memory_(
          std::clamp<std::size_t>(memory, min_memory, std::numeric_limits<std::uint32_t>::max())),
      // Entries of 12 bytes have an eighth, which suits lines of about 84.
      text_limit_(memory_ / 8 * 7),
      entry_limit_((memory_ - text_limit_) / sizeof(Entry)) {}

void SortedSpool::add(std::string_view lines) {
    while (!lines.empty()) {
        const std::size_t key_size = lines.find('\t');
        const std::size_t end = lines.find('\n');
        assert(key_size < end && end != lines.npos);
        add_line(lines.substr(0, end + 1), key_size);
        lines.remove_prefix(end + 1);
    }
}

void SortedSpool::add_line(std::string_view keyed, std::size_t key_size) {
    // A run of its own, so that no line decides how much memory is held.
    if (keyed.size() > text_limit_) {
        write_run([&](const TakeKeyed &take) { take(keyed, key_size); });
        return;
    }
    if (keyed.size() > text_limit_ - text_size_ || entries_.size() == entry_limit_) spill();
    if (text_ == nullptr) {
        // Left as the system gives it: short outputs touch a few pages only.
        text_.reset(new char[text_limit_]);
        entries_.reserve(entry_limit_);
    }
    std::memcpy(text_.get() + text_size_, keyed.data(), keyed.size());
    entries_.push_back({static_cast<std::uint32_t>(text_size_),
                        static_cast<std::uint32_t>(key_size),
                        static_cast<std::uint32_t>(keyed.size())});
    text_size_ += keyed.size();
}

// Gives what is in memory in order, and empties it.
void SortedSpool::take_held(const TakeKeyed &take) {
    const auto keyed = [this](const Entry &entry) {
        return std::string_view(text_.get() + entry.begin, entry.size);
    };
    std::ranges::sort(entries_, [&](const Entry &a, const Entry &b) {
        return is_before(keyed(a), a.key_size, keyed(b), b.key_size);
    });
    FirstOfKey first;
    for (const Entry &entry : entries_) {
        const std::string_view text = keyed(entry);
        if (first.is_first(text.substr(0, entry.key_size))) take(text, entry.key_size);
    }
    entries_.clear();
    text_size_ = 0;
}

void SortedSpool::write_run(const std::function<void(const TakeKeyed &)> &give) {
    if (!file_.is_open()) file_ = open_nameless(folder_);
    const std::uint64_t begin = runs_.empty() ? 0 : runs_.back().end;
    RunWriter writer(file_.get(), buffer_size());
    give([&](std::string_view keyed, std::size_t) { writer.append(keyed); });
    writer.flush();
    runs_.push_back({begin, begin + writer.size()});
}

void SortedSpool::spill() {
    write_run([this](const TakeKeyed &take) { take_held(take); });
}

void SortedSpool::merge(int file, std::span<const Run> runs, const TakeKeyed &take) {
    std::vector<RunReader> readers;
    readers.reserve(runs.size());
    for (const Run &run : runs) {
        readers.emplace_back(file, run.begin, run.end, buffer_size());
        if (!readers.back().advance()) readers.pop_back();
    }
    // Pointers are taken only now that the readers move no more.
    std::vector<RunReader *> heap;
    heap.reserve(readers.size());
    for (RunReader &reader : readers) heap.push_back(&reader);
    const auto is_after = [](const RunReader *a, const RunReader *b) {
        return is_before(b->keyed(), b->key_size(), a->keyed(), a->key_size());
    };
    std::ranges::make_heap(heap, is_after);
    for (FirstOfKey first; !heap.empty();) {
        std::ranges::pop_heap(heap, is_after);
        RunReader *least = heap.back();
        const std::string_view text = least->keyed();
        // Before advance(), which ends the views.
        if (first.is_first(text.substr(0, least->key_size()))) take(text, least->key_size());
        if (least->advance()) {
            std::ranges::push_heap(heap, is_after);
        } else {
            heap.pop_back();
        }
    }
}

// Makes the runs few enough to be merged at once.
void SortedSpool::merge_groups() {
    // The old file goes at the end of this, so that at most twice the text is on the disk.
    const Descriptor from = std::exchange(file_, Descriptor());
    const std::vector<Run> runs = std::exchange(runs_, {});
    for (std::size_t begin = 0; begin < runs.size(); begin += fan_in()) {
        const std::size_t count = std::min(fan_in(), runs.size() - begin);
        write_run([&](const TakeKeyed &take) {
            merge(from.get(), std::span(runs).subspan(begin, count), take);
        });
    }
}

void SortedSpool::drain(const std::function<void(std::string_view line)> &take) {
    const TakeKeyed take_line = [&](std::string_view keyed, std::size_t key_size) {
        take(keyed.substr(key_size + 1));
    };
    if (runs_.empty())
        take_held(take_line);
    else if (!entries_.empty())
        spill();
    // From here on the buffers of the merge have the memory to themselves.
    text_.reset();
    entries_ = std::vector<Entry>();  // `{}` would keep its memory
    if (runs_.empty()) return;
    while (runs_.size() > fan_in()) merge_groups();
    merge(file_.get(), runs_, take_line);
    runs_.clear();
    file_ = Descriptor();
}

std::size_t SortedSpool::fan_in() const {
    // One buffer is for what a merge writes. Two runs at least, or merging would never make them
    // fewer.
    return std::clamp<std::size_t>(memory_ / good_buffer_size, 3, max_fan_in) - 1;
}

std::size_t SortedSpool::buffer_size() const {
    return memory_ / (fan_in() + 1);
}

}  // namespace vrn::exporter
