#include "support/captured_log.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "utils/c_ptr.h"
#include "utils/log.h"

namespace vrn::test {
namespace {

std::vector<std::string> lines;

__attribute__((format(printf, 2, 3))) void collect(std::int32_t level, const char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    char *raw = nullptr;
    if (vasprintf(&raw, format, arguments) < 0) raw = nullptr;
    va_end(arguments);
    const CString text(raw);
    lines.push_back(std::to_string(level) + " " + (text ? text.get() : ""));
}

void set_variable(const char *name, const char *value) {
    if (value)
        setenv(name, value, 1);
    else
        unsetenv(name);
}

}  // namespace

CapturedLog::CapturedLog(std::uint32_t level) {
    lines.clear();
    vrn_log_register_callback(collect, level);
}

CapturedLog::~CapturedLog() {
    vrn_log_register_callback(nullptr, 0);
    vrn_init_stderr_logger(0);
}

std::vector<std::string> CapturedLog::take() {
    return std::exchange(lines, {});
}

ScopedEnv::ScopedEnv(const char *name, const char *value) : name_(name) {
    if (const char *before = std::getenv(name)) before_ = before;
    set_variable(name, value);
}

ScopedEnv::~ScopedEnv() {
    set_variable(name_.c_str(), before_ ? before_->c_str() : nullptr);
}

}  // namespace vrn::test
