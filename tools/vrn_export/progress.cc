#include "vrn_export/progress.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>

namespace vrn::exporter {
namespace {

constexpr auto redraw_interval = std::chrono::milliseconds(200);

std::string size_text(double bytes) {
    static constexpr std::array<const char *, 5> units = {"B", "kB", "MB", "GB", "TB"};
    std::size_t unit = 0;
    for (; bytes >= 1000 && unit + 1 < units.size(); ++unit) bytes /= 1000;
    char text[32];
    std::snprintf(text, sizeof text, unit == 0 ? "%.0f %s" : "%.1f %s", bytes, units[unit]);
    return text;
}

std::string time_text(double seconds) {
    const auto whole = static_cast<std::uint64_t>(seconds);
    char text[48];
    std::snprintf(text, sizeof text, "%llu:%02u:%02u",
                  static_cast<unsigned long long>(whole / 3600),
                  static_cast<unsigned>(whole / 60 % 60), static_cast<unsigned>(whole % 60));
    return text;
}

}  // namespace

Progress::Progress(std::uint64_t num_files, std::uint64_t num_bytes)
    : is_shown_(isatty(STDERR_FILENO) == 1), num_files_(num_files), num_bytes_(num_bytes) {}

void Progress::note_bytes(std::uint64_t bytes) {
    bytes_ += bytes;
    draw();
}

void Progress::note_file() {
    ++files_;
    draw();
}

void Progress::clear() {
    const std::lock_guard lock(mutex_);
    // Only what was drawn: escapes have no place in a file or pipe.
    if (is_drawn_) std::fputs("\r\033[K", stderr);
    is_drawn_ = false;
}

void Progress::draw() {
    if (!is_shown_) return;
    // Where another thread draws, this one goes on: no work waits for a terminal.
    const std::unique_lock lock(mutex_, std::try_to_lock);
    const Clock::time_point now = Clock::now();
    if (!lock || now < next_) return;
    next_ = now + redraw_interval;
    const std::chrono::duration<double> time = now - start_;
    std::fprintf(stderr, "\r%s\033[K",
                 text({files_, num_files_, bytes_, num_bytes_, time.count()}).c_str());
    is_drawn_ = true;
}

std::string Progress::text(const State &state) {
    const double bytes = static_cast<double>(state.bytes);
    const double rate = state.seconds > 0 ? bytes / state.seconds : 0;
    std::string line = std::to_string(state.files) + " of " + std::to_string(state.num_files) +
                       " files, " + size_text(bytes) + " of " +
                       size_text(static_cast<double>(state.num_bytes)) + ", " + size_text(rate) +
                       "/s";
    // What is compressed or grows may be more than was told.
    const double left = static_cast<double>(state.num_bytes) - bytes;
    if (rate > 0) line += ", " + time_text(std::max(left, 0.0) / rate) + " left";
    return line;
}

}  // namespace vrn::exporter
