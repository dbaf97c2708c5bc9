// Failures of the class layer: one error line, then an exception.
#pragma once

// Logs the message at error level and throws std::runtime_error with it.
[[noreturn]] void vrn_throw_runtime_error(const char *format, ...)
    __attribute__((format(printf, 1, 2)));
