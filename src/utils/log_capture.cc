#include "utils/log_capture.h"

#include <cstdarg>
#include <cstdio>
#include <new>
#include <utility>

#include "utils/c_ptr.h"

namespace vrn {

namespace {

// Captures nest like scopes; a line goes to the innermost one of its thread.
thread_local LogCapture *innermost = nullptr;

}  // namespace

LogCapture::LogCapture()
    : outer_(std::exchange(innermost, this)), taker_before_(vrn_log_set_thread_taker(keep)) {}

LogCapture::~LogCapture() {
    innermost = outer_;
    vrn_log_set_thread_taker(taker_before_);
}

std::vector<LogLine> LogCapture::take() {
    return std::exchange(lines_, {});
}

void LogCapture::keep(std::int32_t level, const char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    char *raw = nullptr;
    const int length = vasprintf(&raw, format, arguments);
    const CString text(length < 0 ? nullptr : raw);
    va_end(arguments);
    try {
        if (!text) throw std::bad_alloc();
        innermost->lines_.push_back({static_cast<std::uint32_t>(level), text.get()});
    } catch (const std::bad_alloc &) {
        // Rather in the wrong place than lost.
        va_start(arguments, format);
        vrn_vlog(static_cast<std::uint32_t>(level), format, arguments);
        va_end(arguments);
    }
}

// Already formatted, so the text must not be taken for a format a second time.
void log_again(const std::vector<LogLine> &lines) {
    for (const LogLine &line : lines) VRN_LOG(line.level, "%s", line.text.c_str());
}

}  // namespace vrn
