#include "utils/throw_error.h"

#include <cstdarg>
#include <stdexcept>

#include "utils/c_ptr.h"
#include "utils/log.h"
#include "utils/string_template.h"

void vrn_throw_runtime_error(const char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const vrn::CString text(vrn_expand_string_template(format, arguments));
    va_end(arguments);
    // Out of memory is no reason to lose the error itself.
    const char *message = text ? text.get() : "Unknown error (failed to format message)";
    VRN_LOG(VRN_LOG_ERROR, "%s", message);
    throw std::runtime_error(message);
}
